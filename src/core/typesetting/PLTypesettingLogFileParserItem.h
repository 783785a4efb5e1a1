#pragma once

#include <QString>

// One error found in engine output by the strategy parser: where the log says it happened, what it
// says, and a hint for the user.
class PLTypesettingLogFileParserItem
{
public:
    PLTypesettingLogFileParserItem(qint32 type, QString filename, QString message, QString advice, int line,
                                   int column);

    // Every strategy makes errors, type 0.
    qint32 type() const { return m_type; }
    // The file as the log names it, with its leading "./", or empty.
    const QString &filename() const { return m_filename; }
    const QString &message() const { return m_message; }
    // Empty when the strategy has no advice.
    const QString &advice() const { return m_advice; }
    int line() const { return m_line; }
    int column() const { return m_column; }

private:
    qint32 m_type;
    QString m_filename;
    QString m_message;
    QString m_advice;
    int m_line;
    int m_column;
};
