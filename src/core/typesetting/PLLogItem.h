#pragma once

#include <QString>

#include <memory>

class PLFile;

// One warning or error that the log string parser found in engine output.
class PLLogItem
{
public:
    enum Type { Warning = 0, Error = 1 };

    PLLogItem(int type, QString message, int line, std::shared_ptr<PLFile> file);

    int type() const { return m_type; }
    const QString &message() const { return m_message; }
    // 0 when the output does not say.
    int line() const { return m_line; }
    const std::shared_ptr<PLFile> &file() const { return m_file; }

private:
    int m_type;
    QString m_message;
    int m_line;
    std::shared_ptr<PLFile> m_file;
};
