#include "cli/PLCliJsonWriter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <charconv>
#include <iterator>

namespace {
constexpr qsizetype kFlushBytes = 64 * 1024;

char hexDigit(unsigned value)
{
    return "0123456789abcdef"[value & 0xf];
}

// A code unit the UTF-8 form cannot hold, as QJsonDocument escapes it.
void appendEscapedUnit(QByteArray &bytes, char16_t unit)
{
    const char escape[] = {'\\', 'u', hexDigit(unit >> 12), hexDigit(unit >> 8), hexDigit(unit >> 4), hexDigit(unit)};
    bytes.append(escape, sizeof(escape));
}

void appendQuoted(QByteArray &bytes, QStringView text)
{
    bytes.append('"');
    const char16_t *units = text.utf16();
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t u = units[i];
        if (u >= 0x80) {
            if (u < 0x800) {
                const char encoded[] = {char(0xc0 | (u >> 6)), char(0x80 | (u & 0x3f))};
                bytes.append(encoded, 2);
            } else if (!QChar::isSurrogate(u)) {
                const char encoded[] = {char(0xe0 | (u >> 12)), char(0x80 | ((u >> 6) & 0x3f)), char(0x80 | (u & 0x3f))};
                bytes.append(encoded, 3);
            } else if (QChar::isHighSurrogate(u) && i + 1 < size && QChar::isLowSurrogate(units[i + 1])) {
                const char32_t c = QChar::surrogateToUcs4(u, units[++i]);
                const char encoded[] = {char(0xf0 | (c >> 18)), char(0x80 | ((c >> 12) & 0x3f)),
                                        char(0x80 | ((c >> 6) & 0x3f)), char(0x80 | (c & 0x3f))};
                bytes.append(encoded, 4);
            } else {
                appendEscapedUnit(bytes, u);
            }
            continue;
        }
        // Runs of plain characters go in at once.
        if (u >= 0x20 && u != u'"' && u != u'\\') {
            qsizetype end = i + 1;
            while (end < size && units[end] >= 0x20 && units[end] < 0x80 && units[end] != u'"' && units[end] != u'\\')
                ++end;
            const qsizetype start = bytes.size();
            bytes.resize(start + (end - i));
            char *out = bytes.data() + start;
            for (qsizetype j = i; j < end; ++j)
                *out++ = char(units[j]);
            i = end - 1;
            continue;
        }
        switch (u) {
        case u'"': bytes.append("\\\"", 2); break;
        case u'\\': bytes.append("\\\\", 2); break;
        case u'\b': bytes.append("\\b", 2); break;
        case u'\f': bytes.append("\\f", 2); break;
        case u'\n': bytes.append("\\n", 2); break;
        case u'\r': bytes.append("\\r", 2); break;
        case u'\t': bytes.append("\\t", 2); break;
        default: appendEscapedUnit(bytes, u); break;
        }
    }
    bytes.append('"');
}
}

void PLCliJsonWriter::indent()
{
    m_bytes.append(qsizetype(4 * m_filled.size()), ' ');
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
        m_bytes.append(",\n", 2);
    m_filled.back() = true;
    indent();
}

void PLCliJsonWriter::open(char bracket)
{
    // Each container is a natural place to hand a full buffer on.
    if (m_stream && m_bytes.size() >= kFlushBytes)
        flush();
    beginValue();
    m_bytes.append(bracket);
    m_bytes.append('\n');
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
    appendQuoted(m_bytes, name);
    m_bytes.append(": ", 2);
    m_afterKey = true;
}

void PLCliJsonWriter::string(QStringView text)
{
    beginValue();
    appendQuoted(m_bytes, text);
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
