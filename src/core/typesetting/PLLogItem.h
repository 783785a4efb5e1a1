#pragma once

#include <QString>

// One warning or error that the log string parser found in engine output.
//
// The item names its source file by path only: the engine's output is written by the document
// being typeset (\typeout can name any path, /dev/zero or a FIFO among them), so nothing it names
// is opened or even looked up on disk until the user asks for that file.
class PLLogItem
{
public:
    enum Type { Warning = 0, Error = 1 };

    PLLogItem(int type, QString message, int line, QString filePath);

    int type() const { return m_type; }
    const QString &message() const { return m_message; }
    // 0 when the output does not say.
    int line() const { return m_line; }
    // Null when the output had not opened any file yet.
    const QString &filePath() const { return m_filePath; }

private:
    int m_type;
    QString m_message;
    int m_line;
    QString m_filePath;
};
