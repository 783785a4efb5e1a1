#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QStringView>

#include <cstdio>
#include <vector>

// Writes JSON straight into bytes, laid out byte for byte as QJsonDocument's indented form: four
// spaces a level, members in the order written, which callers keep sorted by key as QJsonObject
// would. Building a large outline as QJsonObjects first cost more than reading the project.
class PLCliJsonWriter
{
public:
    // Without a stream the document is kept whole for bytes(); with one, it goes out in pieces as
    // it grows, so a large document never sits in memory.
    explicit PLCliJsonWriter(std::FILE *stream = nullptr) : m_stream(stream) {}

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

    // The document without a stream; the outermost container ends with a line feed.
    const QByteArray &bytes() const { return m_bytes; }
    // Hands what is written so far on to the stream, and flushes it.
    void flush();

private:
    // Before a value: the separator and indentation an array element needs; nothing after a key.
    void beginValue();
    void open(char bracket);
    void close(char bracket);
    void indent();
    void writeQuoted(QStringView text);
    // Each piece is written into room made for its longest form, then cut to what it took: one
    // size change a piece instead of one a character.
    char *room(qsizetype length);
    void cut(const char *end);

    std::FILE *m_stream;
    QByteArray m_bytes;
    // Per open container: whether it holds a value yet.
    std::vector<bool> m_filled;
    bool m_afterKey = false;
};
