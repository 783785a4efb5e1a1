#pragma once

#include "core/editor/PLSyntaxHighlighterDelegate.h"
#include "core/editor/PLTextStorage.h"

#include <QString>

#include <utility>
#include <vector>

// A text storage that keeps its characters in a plain string: enough to drive a highlighter.
class PLPlainTextStorage : public PLTextStorage
{
public:
    explicit PLPlainTextStorage(const QString &text = QString()) : PLTextStorage(text.size()), m_text(text) {}
    const QString &string() const override { return m_text; }
    void replaceCharactersInRange(PLRange range, const QString &string)
    {
        m_text.replace(range.location, range.length, string);
        edited(range, string.size() - range.length);
    }

private:
    QString m_text;
};

// A rule set that only remembers which lines it was given.
class PLRecordingHighlighterDelegate : public PLSyntaxHighlighterDelegate
{
public:
    explicit PLRecordingHighlighterDelegate(std::vector<std::pair<QString, qsizetype>> *lines) : m_lines(lines) {}
    void syntaxHighlighterWillProcessStringForHighlighting(PLSyntaxHighlighter *, const QString &string,
                                                           qsizetype lineStart) override
    {
        m_lines->emplace_back(string, lineStart);
    }

private:
    std::vector<std::pair<QString, qsizetype>> *m_lines;
};
