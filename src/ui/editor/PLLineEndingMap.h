#pragma once

#include <QString>

#include <vector>

class PLGapBuffer;

// Maps positions between a file's text and the QTextDocument that mirrors it in a text view. The
// mirror holds every CR LF pair as one block separator, while the file keeps both characters;
// every other character (a lone CR or LF included) stands one for one. Only the positions of the
// pairs are kept, so text with plain line feeds costs nothing.
class PLLineEndingMap
{
public:
    void reset(const QString &text);
    // Follows a replacement of `oldLength` characters at `location` by `newLength` characters;
    // `text` is the text after it.
    void update(const QString &text, qsizetype location, qsizetype oldLength, qsizetype newLength);
    void update(const PLGapBuffer &text, qsizetype location, qsizetype oldLength, qsizetype newLength);

    // A text position between the CR and the LF of a pair maps to the end of the separator.
    qsizetype toMirror(qsizetype location) const;
    qsizetype toText(qsizetype mirrorPosition) const;

    bool hasPairs() const { return !m_pairs.empty(); }
    // Whether a CR LF pair started at the location before the last update.
    bool hasPairAt(qsizetype location) const;
    // Whether a CR LF pair starts at the location of the text.
    template <typename Text>
    static bool isPairAt(const Text &text, qsizetype location)
    {
        return location >= 0 && location + 1 < text.size() && text.at(location) == u'\r' && text.at(location + 1) == u'\n';
    }

    // The mirror's rendering of a piece of text: each line break is one paragraph separator.
    static QString mirrorString(const QString &text);

private:
    template <typename Text>
    void updateFor(const Text &text, qsizetype location, qsizetype oldLength, qsizetype newLength);

    // The position of the CR of every CR LF pair, ascending.
    std::vector<qsizetype> m_pairs;
};
