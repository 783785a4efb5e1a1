#include "core/typesetting/PLSyncTexRecordCheck.h"

namespace {

// Reads an optionally signed decimal number from the front of the text.
bool takeNumber(QByteArrayView &text)
{
    qsizetype at = 0;
    if (at < text.size() && text.at(at) == '-')
        ++at;
    const qsizetype digitsStart = at;
    while (at < text.size() && text.at(at) >= '0' && text.at(at) <= '9' && at - digitsStart < 10)
        ++at;
    if (at == digitsStart || (at < text.size() && text.at(at) >= '0' && text.at(at) <= '9'))
        return false;
    text = text.sliced(at);
    return true;
}

bool takeCharacter(QByteArrayView &text, char character)
{
    if (text.isEmpty() || text.front() != character)
        return false;
    text = text.sliced(1);
    return true;
}

// Numbers separated by the given characters: "1,7:2,3" is numbers(text, ",:,").
bool takeNumbers(QByteArrayView &text, QByteArrayView separators)
{
    if (!takeNumber(text))
        return false;
    for (const char separator : separators) {
        if (!takeCharacter(text, separator) || !takeNumber(text))
            return false;
    }
    return true;
}

// "tag,line" or "tag,line,column", the source place every box and node names.
bool takeLink(QByteArrayView &text)
{
    if (!takeNumbers(text, ","))
        return false;
    if (text.startsWith(',')) {
        text = text.sliced(1);
        return takeNumber(text);
    }
    return true;
}

bool isNumberField(QByteArrayView line, QByteArrayView name)
{
    if (!line.startsWith(name))
        return false;
    QByteArrayView rest = line.sliced(name.size());
    return takeNumber(rest) && rest.isEmpty();
}

}

void PLSyncTexRecordCheck::append(QByteArrayView text)
{
    while (!m_failed && !text.isEmpty()) {
        const qsizetype end = text.indexOf('\n');
        if (end < 0) {
            m_partialLine += text;
            m_failed = m_partialLine.size() > kMaximumLineLength;
            return;
        }
        if (m_partialLine.isEmpty()) {
            checkLine(text.first(end));
        } else {
            m_partialLine += text.first(end);
            checkLine(m_partialLine);
            m_partialLine.clear();
        }
        text = text.sliced(end + 1);
    }
}

bool PLSyncTexRecordCheck::isWellFormed() const
{
    return !m_failed && m_partialLine.isEmpty() && m_section == Section::Postamble && m_openRecords.isEmpty();
}

void PLSyncTexRecordCheck::checkLine(QByteArrayView line)
{
    if (line.size() > kMaximumLineLength) {
        m_failed = true;
        return;
    }
    switch (m_section) {
    case Section::Preamble: m_failed = !checkPreambleLine(line); break;
    case Section::Content: m_failed = !checkContentLine(line); break;
    case Section::Postamble: m_failed = !checkPostambleLine(line); break;
    }
}

bool PLSyncTexRecordCheck::checkPreambleLine(QByteArrayView line)
{
    if (!m_sawVersion) {
        m_sawVersion = true;
        return isNumberField(line, "SyncTeX Version:");
    }
    if (line == "Content:") {
        m_section = Section::Content;
        return true;
    }
    if (line.startsWith("Input:")) {
        QByteArrayView rest = line.sliced(6);
        return takeNumber(rest) && takeCharacter(rest, ':') && !rest.isEmpty();
    }
    return line.startsWith("Output:") || isNumberField(line, "Magnification:") || isNumberField(line, "Unit:")
        || isNumberField(line, "X Offset:") || isNumberField(line, "Y Offset:");
}

bool PLSyncTexRecordCheck::checkContentLine(QByteArrayView line)
{
    if (line.isEmpty())
        return false;
    if (line == "Postamble:") {
        m_section = Section::Postamble;
        return m_openRecords.isEmpty();
    }
    if (line.startsWith("Input:")) {
        QByteArrayView rest = line.sliced(6);
        return takeNumber(rest) && takeCharacter(rest, ':') && !rest.isEmpty();
    }
    const char kind = line.front();
    QByteArrayView rest = line.sliced(1);
    switch (kind) {
    case '!':
        return takeNumber(rest) && rest.isEmpty();
    case '{':
        return takeNumber(rest) && rest.isEmpty() && open(kind);
    case '}':
        return takeNumber(rest) && rest.isEmpty() && close('{');
    case '<':
        return takeNumber(rest) && rest.isEmpty() && open(kind);
    case '>':
        return rest.isEmpty() && close('<');
    case '[':
    case '(':
        return takeLink(rest) && takeCharacter(rest, ':') && takeNumbers(rest, ",:,,") && rest.isEmpty() && open(kind);
    case ']':
        return rest.isEmpty() && close('[');
    case ')':
        return rest.isEmpty() && close('(');
    case 'v':
    case 'h':
    case 'r':
        return takeLink(rest) && takeCharacter(rest, ':') && takeNumbers(rest, ",:,,") && rest.isEmpty();
    case 'k':
        return takeLink(rest) && takeCharacter(rest, ':') && takeNumbers(rest, ",:") && rest.isEmpty();
    case 'g':
    case 'x':
    case '$':
        return takeLink(rest) && takeCharacter(rest, ':') && takeNumbers(rest, ",") && rest.isEmpty();
    case 'f':
        return takeNumbers(rest, ":,") && rest.isEmpty();
    default:
        return false;
    }
}

bool PLSyncTexRecordCheck::checkPostambleLine(QByteArrayView line)
{
    return isNumberField(line, "Count:") || line == "Post scriptum:" || isNumberField(line, "Magnification:")
        || isNumberField(line, "X Offset:") || isNumberField(line, "Y Offset:") || line.startsWith('!');
}

bool PLSyncTexRecordCheck::open(char kind)
{
    // Sheets and forms stand alone; boxes nest only inside a sheet or a form.
    const bool standalone = kind == '{' || kind == '<';
    if (standalone ? !m_openRecords.isEmpty() : m_openRecords.isEmpty())
        return false;
    m_openRecords.append(kind);
    return true;
}

bool PLSyncTexRecordCheck::close(char opening)
{
    if (m_openRecords.isEmpty() || m_openRecords.constLast() != opening)
        return false;
    m_openRecords.removeLast();
    return true;
}
