#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

// Checks SyncTeX text line by line against the records the engines write, so that the SyncTeX
// library, which trusts its input, never reads a damaged line: a preamble of known fields, then
// sheets, forms and boxes that open and close in pairs, each record with the numbers it must
// have, then the postamble. The text may arrive in pieces of any size.
class PLSyncTexRecordCheck
{
public:
    void append(QByteArrayView text);
    // Whether every line so far was a well-formed record and nothing is left open. Call once all
    // the text was appended; a last line without its line break counts as damaged.
    bool isWellFormed() const;
    bool hasFailed() const { return m_failed; }

    // No engine writes a line this long; a file path in an "Input:" line is the longest there is.
    static constexpr qsizetype kMaximumLineLength = 1 << 20;

private:
    enum class Section { Preamble, Content, Postamble };

    void checkLine(QByteArrayView line);
    bool checkPreambleLine(QByteArrayView line);
    bool checkContentLine(QByteArrayView line);
    bool checkPostambleLine(QByteArrayView line);
    bool open(char kind);
    bool close(char opening);

    Section m_section = Section::Preamble;
    bool m_sawVersion = false;
    bool m_failed = false;
    QByteArray m_partialLine;
    QList<char> m_openRecords;
};
