#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QStringView>

#include <vector>

// Writes JSON straight into bytes, laid out byte for byte as QJsonDocument's indented form: four
// spaces a level, members in the order written, which callers keep sorted by key as QJsonObject
// would. Building a large outline as QJsonObjects first cost more than reading the project.
class PLCliJsonWriter
{
public:
    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    // The name of the next member of the open object; its value follows.
    void key(QStringView name);
    void string(QStringView text);
    void number(qint64 number);
    void boolean(bool flag);
    void null();
    // Any JSON value, objects with their members in QJsonObject's order.
    void json(const QJsonValue &value);

    // The document; the outermost container ends with a line feed.
    const QByteArray &bytes() const { return m_bytes; }
    // Writes the document to standard output.
    void print() const;

private:
    // Before a value: the separator and indentation an array element needs; nothing after a key.
    void beginValue();
    void open(char bracket);
    void close(char bracket);
    void indent();

    QByteArray m_bytes;
    // Per open container: whether it holds a value yet.
    std::vector<bool> m_filled;
    bool m_afterKey = false;
};
