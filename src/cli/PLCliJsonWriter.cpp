#include "cli/PLCliJsonWriter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <charconv>
#include <cstring>
#include <iterator>

namespace {
constexpr qsizetype kFlushBytes = 64 * 1024;

char hexDigit(unsigned value)
{
    return "0123456789abcdef"[value & 0xf];
}

// A code unit the UTF-8 form cannot hold, as QJsonDocument escapes it.
char *writeEscapedUnit(char *out, char16_t unit)
{
    *out++ = '\\';
    *out++ = 'u';
    *out++ = hexDigit(unit >> 12);
    *out++ = hexDigit(unit >> 8);
    *out++ = hexDigit(unit >> 4);
    *out++ = hexDigit(unit);
    return out;
}

// The longest form of one UTF-16 code unit: an escape.
constexpr qsizetype kMostBytesPerUnit = 6;

// Writes the text quoted and escaped into room for kMostBytesPerUnit bytes a unit and two more;
// answers the end of what it wrote.
char *writeQuoted(char *out, QStringView text)
{
    *out++ = '"';
    const char16_t *units = text.utf16();
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t u = units[i];
        if (u >= 0x20 && u < 0x80 && u != u'"' && u != u'\\') {
            *out++ = char(u);
        } else if (u >= 0x80) {
            if (u < 0x800) {
                *out++ = char(0xc0 | (u >> 6));
                *out++ = char(0x80 | (u & 0x3f));
            } else if (!QChar::isSurrogate(u)) {
                *out++ = char(0xe0 | (u >> 12));
                *out++ = char(0x80 | ((u >> 6) & 0x3f));
                *out++ = char(0x80 | (u & 0x3f));
            } else if (QChar::isHighSurrogate(u) && i + 1 < size && QChar::isLowSurrogate(units[i + 1])) {
                const char32_t c = QChar::surrogateToUcs4(u, units[++i]);
                *out++ = char(0xf0 | (c >> 18));
                *out++ = char(0x80 | ((c >> 12) & 0x3f));
                *out++ = char(0x80 | ((c >> 6) & 0x3f));
                *out++ = char(0x80 | (c & 0x3f));
            } else {
                out = writeEscapedUnit(out, u);
            }
        } else {
            const char escaped = u == u'"' ? '"'
                : u == u'\\'               ? '\\'
                : u == u'\b'               ? 'b'
                : u == u'\f'               ? 'f'
                : u == u'\n'               ? 'n'
                : u == u'\r'               ? 'r'
                : u == u'\t'               ? 't'
                                           : 0;
            if (escaped) {
                *out++ = '\\';
                *out++ = escaped;
            } else {
                out = writeEscapedUnit(out, u);
            }
        }
    }
    *out++ = '"';
    return out;
}
}

char *PLCliJsonWriter::room(qsizetype length)
{
    const qsizetype at = m_bytes.size();
    m_bytes.resize(at + length);
    return m_bytes.data() + at;
}

void PLCliJsonWriter::cut(const char *end)
{
    m_bytes.resize(end - m_bytes.constData());
}

void PLCliJsonWriter::writeQuoted(QStringView text)
{
    cut(::writeQuoted(room(2 + kMostBytesPerUnit * text.size()), text));
}

void PLCliJsonWriter::indent()
{
    const qsizetype width = 4 * qsizetype(m_filled.size());
    std::memset(room(width), ' ', size_t(width));
}

void PLCliJsonWriter::beginValue()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_filled.empty())
        return;
    if (m_filled.back())
        std::memcpy(room(2), ",\n", 2);
    m_filled.back() = true;
    indent();
}

void PLCliJsonWriter::open(char bracket)
{
    // Each container is a natural place to hand a full buffer on.
    if (m_stream && m_bytes.size() >= kFlushBytes)
        flush();
    beginValue();
    char *out = room(2);
    out[0] = bracket;
    out[1] = '\n';
    m_filled.push_back(false);
}

void PLCliJsonWriter::close(char bracket)
{
    if (m_filled.back())
        m_bytes.append('\n');
    m_filled.pop_back();
    indent();
    m_bytes.append(bracket);
    if (m_filled.empty())
        m_bytes.append('\n');
}

void PLCliJsonWriter::beginObject()
{
    open('{');
}

void PLCliJsonWriter::endObject()
{
    close('}');
}

void PLCliJsonWriter::beginArray()
{
    open('[');
}

void PLCliJsonWriter::endArray()
{
    close(']');
}

void PLCliJsonWriter::key(QStringView name)
{
    beginValue();
    writeQuoted(name);
    std::memcpy(room(2), ": ", 2);
    m_afterKey = true;
}

void PLCliJsonWriter::string(QStringView text)
{
    beginValue();
    writeQuoted(text);
}

void PLCliJsonWriter::number(qint64 number)
{
    beginValue();
    // Written in place: a node's type and sub-type are two of these for every node of an outline.
    char digits[24];
    const auto written = std::to_chars(std::begin(digits), std::end(digits), number);
    m_bytes.append(digits, qsizetype(written.ptr - digits));
}

void PLCliJsonWriter::boolean(bool flag)
{
    beginValue();
    m_bytes.append(flag ? "true" : "false");
}

void PLCliJsonWriter::null()
{
    beginValue();
    m_bytes.append("null", 4);
}

void PLCliJsonWriter::json(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        boolean(value.toBool());
        break;
    case QJsonValue::Double:
        beginValue();
        m_bytes.append(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).sliced(1).chopped(1));
        break;
    case QJsonValue::String:
        string(value.toString());
        break;
    case QJsonValue::Array:
        beginArray();
        for (const QJsonValue &element : value.toArray())
            json(element);
        endArray();
        break;
    case QJsonValue::Object: {
        beginObject();
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            key(it.key());
            json(it.value());
        }
        endObject();
        break;
    }
    default:
        null();
        break;
    }
}

void PLCliJsonWriter::flush()
{
    if (!m_stream)
        return;
    std::fwrite(m_bytes.constData(), 1, size_t(m_bytes.size()), m_stream);
    std::fflush(m_stream);
    // The buffer keeps its room for the next piece.
    m_bytes.resize(0);
}
