#include "core/typesetting/PLPdfPageRotations.h"

#include <QByteArray>
#include <QHash>
#include <QRectF>
#include <QSet>

#include <zlib.h>

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

namespace {
// Bounds that no real document reaches and that keep hostile input cheap.
constexpr int kMaximumNesting = 32;
constexpr int kMaximumTreeDepth = 64;
constexpr int kMaximumSections = 64;
constexpr int kMaximumLoads = 200000;
constexpr qsizetype kMaximumInflatedBytes = 64ll * 1024 * 1024;
constexpr int kMaximumResolveDepth = 16;
// Beyond any offset or count a file can hold, yet far from overflowing in sums.
constexpr double kLargestInteger = 1e15;

qint64 toInteger(double value)
{
    return qint64(std::clamp(value, -kLargestInteger, kLargestInteger));
}

struct Object
{
    enum Kind { Null, Boolean, Number, Name, String, Array, Dictionary, Reference, Keyword };
    Kind kind = Null;
    double number = 0;
    QByteArray text;
    std::vector<Object> items;
    // A dictionary: each key's value has the key's index.
    std::vector<QByteArray> keys;
    std::vector<Object> values;
    int objectNumber = 0;
    // Where the data of a stream starts, in the bytes the object was read from; -1 for no stream.
    qsizetype streamStart = -1;

    const Object *get(QByteArrayView key) const
    {
        for (size_t index = 0; index < keys.size(); ++index) {
            if (keys[index] == key)
                return &values[index];
        }
        return nullptr;
    }
    bool isInteger() const { return kind == Number && std::abs(number) <= kLargestInteger && number == std::trunc(number); }
};

bool isSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t' || c == '\f' || c == '\0';
}

bool isDelimiter(char c)
{
    return c == '(' || c == ')' || c == '<' || c == '>' || c == '[' || c == ']' || c == '{' || c == '}' || c == '/'
           || c == '%';
}

bool isRegular(char c)
{
    return !isSpace(c) && !isDelimiter(c);
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Reads objects from a run of bytes: the file itself or the decoded data of an object stream.
class Lexer
{
public:
    Lexer(QByteArrayView data, qsizetype position) : m_data(data), m_position(position) {}

    qsizetype position() const { return m_position; }

    void skipSpace()
    {
        while (m_position < m_data.size()) {
            const char c = m_data.at(m_position);
            if (c == '%') {
                while (m_position < m_data.size() && m_data.at(m_position) != '\n' && m_data.at(m_position) != '\r')
                    ++m_position;
            } else if (isSpace(c)) {
                ++m_position;
            } else {
                return;
            }
        }
    }

    bool startsWith(QByteArrayView word)
    {
        skipSpace();
        return m_data.sliced(m_position).startsWith(word);
    }

    bool readKeyword(QByteArrayView word)
    {
        if (!startsWith(word))
            return false;
        const qsizetype end = m_position + word.size();
        if (end < m_data.size() && isRegular(m_data.at(end)))
            return false;
        m_position = end;
        return true;
    }

    std::optional<qint64> readInteger()
    {
        skipSpace();
        qsizetype end = m_position;
        while (end < m_data.size() && end - m_position < 18 && m_data.at(end) >= '0' && m_data.at(end) <= '9')
            ++end;
        if (end == m_position || (end < m_data.size() && isRegular(m_data.at(end))))
            return std::nullopt;
        const qint64 value = m_data.sliced(m_position, end - m_position).toLongLong();
        m_position = end;
        return value;
    }

    bool read(Object &object, int nesting)
    {
        if (nesting > kMaximumNesting)
            return false;
        skipSpace();
        if (m_position >= m_data.size())
            return false;
        const char c = m_data.at(m_position);
        if (c == '/') {
            ++m_position;
            object.kind = Object::Name;
            object.text = readName();
            return true;
        }
        if (c == '(') {
            object.kind = Object::String;
            return skipLiteralString();
        }
        if (c == '<' && m_position + 1 < m_data.size() && m_data.at(m_position + 1) == '<') {
            m_position += 2;
            object.kind = Object::Dictionary;
            return readDictionary(object, nesting);
        }
        if (c == '<') {
            object.kind = Object::String;
            const qsizetype end = m_data.indexOf('>', m_position);
            m_position = end < 0 ? m_data.size() : end + 1;
            return end >= 0;
        }
        if (c == '[') {
            ++m_position;
            object.kind = Object::Array;
            return readArray(object, nesting);
        }
        if (c == '+' || c == '-' || c == '.' || (c >= '0' && c <= '9'))
            return readNumberOrReference(object);
        if (isDelimiter(c))
            return false;
        qsizetype end = m_position;
        while (end < m_data.size() && isRegular(m_data.at(end)))
            ++end;
        object.text = m_data.sliced(m_position, end - m_position).toByteArray();
        m_position = end;
        object.kind = object.text == "null"                             ? Object::Null
                      : object.text == "true" || object.text == "false" ? Object::Boolean
                                                                        : Object::Keyword;
        return true;
    }

private:
    QByteArray readName()
    {
        QByteArray name;
        while (m_position < m_data.size() && isRegular(m_data.at(m_position))) {
            const char c = m_data.at(m_position++);
            // #xx stands for the byte xx.
            if (c == '#' && m_position + 1 < m_data.size() && hexValue(m_data.at(m_position)) >= 0
                && hexValue(m_data.at(m_position + 1)) >= 0) {
                name.append(char(hexValue(m_data.at(m_position)) * 16 + hexValue(m_data.at(m_position + 1))));
                m_position += 2;
            } else {
                name.append(c);
            }
        }
        return name;
    }

    bool skipLiteralString()
    {
        int depth = 0;
        while (m_position < m_data.size()) {
            const char c = m_data.at(m_position++);
            if (c == '\\' && m_position < m_data.size())
                ++m_position;
            else if (c == '(')
                ++depth;
            else if (c == ')' && --depth == 0)
                return true;
        }
        return false;
    }

    bool readDictionary(Object &object, int nesting)
    {
        while (true) {
            skipSpace();
            if (m_position + 1 < m_data.size() && m_data.at(m_position) == '>' && m_data.at(m_position + 1) == '>') {
                m_position += 2;
                return true;
            }
            Object key;
            if (!read(key, nesting + 1) || key.kind != Object::Name)
                return false;
            Object value;
            if (!read(value, nesting + 1))
                return false;
            object.keys.push_back(std::move(key.text));
            object.values.push_back(std::move(value));
        }
    }

    bool readArray(Object &object, int nesting)
    {
        while (true) {
            skipSpace();
            if (m_position < m_data.size() && m_data.at(m_position) == ']') {
                ++m_position;
                return true;
            }
            Object item;
            if (!read(item, nesting + 1))
                return false;
            object.items.push_back(std::move(item));
        }
    }

    bool readNumberOrReference(Object &object)
    {
        const qsizetype start = m_position;
        qsizetype end = m_position + 1;
        while (end < m_data.size() && (m_data.at(end) == '.' || (m_data.at(end) >= '0' && m_data.at(end) <= '9')))
            ++end;
        bool ok = false;
        object.kind = Object::Number;
        object.number = m_data.sliced(start, end - start).toDouble(&ok);
        if (!ok)
            object.number = 0;
        m_position = end;
        // "n g R" is a reference to object n.
        if (object.isInteger() && object.number >= 0) {
            const qsizetype after = m_position;
            if (readInteger() && readKeyword("R")) {
                object.kind = Object::Reference;
                object.objectNumber = int(std::min<qint64>(toInteger(object.number), std::numeric_limits<int>::max()));
                return true;
            }
            m_position = after;
        }
        return true;
    }

    QByteArrayView m_data;
    qsizetype m_position;
};

struct Entry
{
    // 0: free, 1: at an offset of the file, 2: inside an object stream.
    int type = 0;
    qint64 value = 0;
    qint64 index = 0;
};

int normalised(const Object *rotate)
{
    // A turn that is no multiple of a quarter rounds towards zero, as viewers do.
    const qint64 value = rotate && rotate->kind == Object::Number ? toInteger(rotate->number) : 0;
    int quarters = int(value / 90 % 4);
    if (quarters < 0)
        quarters += 4;
    return quarters * 90;
}

class Reader
{
public:
    explicit Reader(QByteArrayView data) : m_data(data)
    {
        // Offsets count from the header, which some writers put after leading bytes.
        const qsizetype header = data.first(std::min<qsizetype>(data.size(), 1024)).indexOf("%PDF-");
        m_base = std::max<qsizetype>(header, 0);
    }

    std::optional<QList<PLPdfPageRotations::Page>> pages(int pageCount)
    {
        if (!readCrossReferences())
            return std::nullopt;
        const Object *root = m_trailer.get("Root");
        if (!root)
            return std::nullopt;
        const std::optional<Object> catalog = resolve(*root);
        if (!catalog || catalog->kind != Object::Dictionary || !catalog->get("Pages"))
            return std::nullopt;
        QList<PLPdfPageRotations::Page> found;
        QSet<int> visited;
        if (root->kind == Object::Reference)
            visited.insert(root->objectNumber);
        const Object *pages = catalog->get("Pages");
        if (pages->kind == Object::Reference)
            visited.insert(pages->objectNumber);
        const std::optional<Object> tree = resolve(*pages);
        if (!tree || !collect(*tree, Inherited(), 0, pageCount, visited, found) || found.size() != pageCount)
            return std::nullopt;
        return found;
    }

private:
    // What a page takes from the nearest node above it that has it.
    struct Inherited
    {
        int rotation = 0;
        QRectF mediaBox;
        QRectF cropBox;
    };

    std::optional<QRectF> box(const Object *entry)
    {
        if (!entry)
            return std::nullopt;
        const std::optional<Object> value = resolve(*entry);
        if (!value || value->kind != Object::Array || value->items.size() != 4)
            return QRectF();
        qreal corners[4];
        for (int i = 0; i < 4; ++i) {
            if (value->items.at(i).kind != Object::Number)
                return QRectF();
            corners[i] = value->items.at(i).number;
        }
        return QRectF(QPointF(corners[0], corners[1]), QPointF(corners[2], corners[3])).normalized();
    }

    bool collect(const Object &node, Inherited inherited, int depth, int pageCount, QSet<int> &visited,
                 QList<PLPdfPageRotations::Page> &found)
    {
        if (node.kind != Object::Dictionary || depth > kMaximumTreeDepth || found.size() > pageCount)
            return false;
        if (const Object *rotate = node.get("Rotate")) {
            const std::optional<Object> value = resolve(*rotate);
            inherited.rotation = normalised(value ? &*value : nullptr);
        }
        if (const std::optional<QRectF> media = box(node.get("MediaBox")))
            inherited.mediaBox = *media;
        if (const std::optional<QRectF> crop = box(node.get("CropBox")))
            inherited.cropBox = *crop;
        const Object *type = node.get("Type");
        const Object *kids = node.get("Kids");
        if ((type && type->kind == Object::Name && type->text == "Page") || !kids) {
            // Viewers draw the crop box within the media box; a page without a usable media box
            // is a Letter page.
            const QRectF media = inherited.mediaBox.isEmpty() ? QRectF(0, 0, 612, 792) : inherited.mediaBox;
            const QRectF shown = inherited.cropBox.isEmpty() ? media : inherited.cropBox.intersected(media);
            const QSizeF size = inherited.rotation % 180 ? shown.size().transposed() : shown.size();
            found.append(PLPdfPageRotations::Page{inherited.rotation, size});
            return true;
        }
        const std::optional<Object> list = resolve(*kids);
        if (!list || list->kind != Object::Array)
            return false;
        for (const Object &kid : list->items) {
            // A node met twice makes the tree a graph; nothing in it can be trusted.
            if (kid.kind != Object::Reference || visited.contains(kid.objectNumber))
                return false;
            visited.insert(kid.objectNumber);
            const std::optional<Object> child = resolve(kid);
            if (!child || !collect(*child, inherited, depth + 1, pageCount, visited, found))
                return false;
        }
        return true;
    }

    bool readCrossReferences()
    {
        const qsizetype tail = std::max<qsizetype>(0, m_data.size() - 2048);
        const qsizetype keyword = m_data.sliced(tail).lastIndexOf("startxref");
        if (keyword < 0)
            return false;
        Lexer lexer(m_data, tail + keyword + 9);
        const std::optional<qint64> first = lexer.readInteger();
        if (!first)
            return false;
        // The newest section comes first; an older one never overrides what a newer one says.
        QList<qint64> queue{*first};
        QSet<qint64> seen;
        while (!queue.isEmpty() && seen.size() < kMaximumSections) {
            const qint64 offset = queue.takeFirst() + m_base;
            if (offset < 0 || offset >= m_data.size() || seen.contains(offset))
                continue;
            seen.insert(offset);
            Object trailer;
            Lexer section(m_data, offset);
            if (section.readKeyword("xref")) {
                if (!readTable(section) || !section.readKeyword("trailer") || !section.read(trailer, 0)
                    || trailer.kind != Object::Dictionary)
                    return false;
                if (const Object *stream = trailer.get("XRefStm"); stream && stream->isInteger())
                    queue.prepend(toInteger(stream->number));
            } else if (!readStreamSection(offset, trailer)) {
                return false;
            }
            if (!m_trailer.get("Root") && trailer.get("Root"))
                m_trailer = trailer;
            if (const Object *previous = trailer.get("Prev"); previous && previous->isInteger())
                queue.append(toInteger(previous->number));
        }
        return m_trailer.get("Root") != nullptr;
    }

    bool readTable(Lexer &lexer)
    {
        while (!lexer.startsWith("trailer")) {
            const std::optional<qint64> start = lexer.readInteger();
            const std::optional<qint64> count = lexer.readInteger();
            // Each entry takes at least 18 bytes, which bounds a count that lies.
            if (!start || !count || *count > (m_data.size() - lexer.position()) / 18 + 1)
                return false;
            for (qint64 index = 0; index < *count; ++index) {
                const std::optional<qint64> value = lexer.readInteger();
                const std::optional<qint64> generation = lexer.readInteger();
                const bool used = lexer.readKeyword("n");
                if (!value || !generation || (!used && !lexer.readKeyword("f")))
                    return false;
                add(*start + index, Entry{used ? 1 : 0, *value, 0});
            }
        }
        return true;
    }

    bool readStreamSection(qint64 offset, Object &trailer)
    {
        const std::optional<Object> stream = readIndirect(m_data, offset);
        if (!stream || stream->streamStart < 0)
            return false;
        const Object *type = stream->get("Type");
        const Object *widths = stream->get("W");
        if (!type || type->text != "XRef" || !widths || widths->kind != Object::Array || widths->items.size() != 3)
            return false;
        int width[3];
        for (int field = 0; field < 3; ++field) {
            const Object &item = widths->items.at(field);
            if (!item.isInteger() || item.number < 0 || item.number > 8)
                return false;
            width[field] = int(item.number);
        }
        const int rowSize = width[0] + width[1] + width[2];
        const std::optional<QByteArray> rows = streamData(*stream, m_data);
        if (!rows || rowSize == 0)
            return false;
        std::vector<std::pair<qint64, qint64>> ranges;
        const Object *index = stream->get("Index");
        if (index && index->kind == Object::Array) {
            for (size_t item = 0; item + 1 < index->items.size(); item += 2)
                ranges.emplace_back(toInteger(index->items.at(item).number), toInteger(index->items.at(item + 1).number));
        } else if (const Object *size = stream->get("Size"); size && size->isInteger()) {
            ranges.emplace_back(0, toInteger(size->number));
        }
        qsizetype row = 0;
        for (const auto &[start, count] : ranges) {
            for (qint64 entry = 0; entry < count && (row + 1) * rowSize <= rows->size(); ++entry, ++row) {
                quint64 fields[3] = {1, 0, 0};
                qsizetype at = row * rowSize;
                for (int field = 0; field < 3; ++field) {
                    if (width[field] == 0)
                        continue;
                    fields[field] = 0;
                    for (int byte = 0; byte < width[field]; ++byte)
                        fields[field] = (fields[field] << 8) | quint8(rows->at(at++));
                }
                const auto clamped = [](quint64 value) { return qint64(std::min<quint64>(value, quint64(kLargestInteger))); };
                add(start + entry, Entry{int(std::min<quint64>(fields[0], 3)), clamped(fields[1]), clamped(fields[2])});
            }
        }
        trailer = *stream;
        return true;
    }

    void add(qint64 number, const Entry &entry)
    {
        if (number >= 0 && number <= std::numeric_limits<int>::max() && !m_entries.contains(int(number)))
            m_entries.insert(int(number), entry);
    }

    // The object a reference names; any other object is itself.
    std::optional<Object> resolve(const Object &object)
    {
        if (object.kind != Object::Reference)
            return object;
        const auto entry = m_entries.constFind(object.objectNumber);
        if (entry == m_entries.cend() || m_resolving.contains(object.objectNumber) || ++m_loads > kMaximumLoads
            || m_resolving.size() >= kMaximumResolveDepth)
            return std::nullopt;
        m_resolving.insert(object.objectNumber);
        std::optional<Object> resolved;
        if (entry->type == 1)
            resolved = readIndirect(m_data, entry->value + m_base);
        else if (entry->type == 2)
            resolved = readCompressed(int(std::clamp<qint64>(entry->value, 0, std::numeric_limits<int>::max())), entry->index);
        m_resolving.remove(object.objectNumber);
        return resolved;
    }

    std::optional<Object> readIndirect(QByteArrayView data, qint64 offset)
    {
        if (offset < 0 || offset >= data.size())
            return std::nullopt;
        Lexer lexer(data, offset);
        Object object;
        if (!lexer.readInteger() || !lexer.readInteger() || !lexer.readKeyword("obj") || !lexer.read(object, 0))
            return std::nullopt;
        if (object.kind == Object::Dictionary && lexer.readKeyword("stream")) {
            qsizetype start = lexer.position();
            if (start < data.size() && data.at(start) == '\r')
                ++start;
            if (start < data.size() && data.at(start) == '\n')
                ++start;
            object.streamStart = start;
        }
        return object;
    }

    std::optional<Object> readCompressed(int streamNumber, qint64 index)
    {
        auto cached = m_objectStreams.constFind(streamNumber);
        if (cached == m_objectStreams.cend()) {
            const auto entry = m_entries.constFind(streamNumber);
            // An object stream always lies in the file itself.
            std::optional<Object> stream;
            if (entry != m_entries.cend() && entry->type == 1 && !m_resolving.contains(streamNumber)) {
                m_resolving.insert(streamNumber);
                stream = readIndirect(m_data, entry->value + m_base);
                m_resolving.remove(streamNumber);
            }
            std::shared_ptr<ObjectStream> decoded;
            if (stream && stream->streamStart >= 0) {
                const Object *first = stream->get("First");
                const Object *count = stream->get("N");
                std::optional<QByteArray> data = streamData(*stream, m_data);
                if (data && first && first->isInteger() && first->number >= 0 && count && count->isInteger())
                    decoded = std::make_shared<ObjectStream>(
                        ObjectStream{std::move(*data), toInteger(first->number), toInteger(count->number)});
            }
            cached = m_objectStreams.insert(streamNumber, decoded);
        }
        const std::shared_ptr<ObjectStream> &stream = *cached;
        if (!stream || index < 0 || index >= stream->count)
            return std::nullopt;
        Lexer header(stream->data, 0);
        for (qint64 pair = 0; pair < index; ++pair) {
            if (!header.readInteger() || !header.readInteger())
                return std::nullopt;
        }
        const std::optional<qint64> number = header.readInteger();
        const std::optional<qint64> offset = header.readInteger();
        if (!number || !offset || stream->first + *offset >= stream->data.size())
            return std::nullopt;
        Lexer body(stream->data, stream->first + *offset);
        Object object;
        if (!body.read(object, 0))
            return std::nullopt;
        return object;
    }

    std::optional<QByteArray> streamData(const Object &stream, QByteArrayView data)
    {
        const qsizetype start = stream.streamStart;
        qsizetype length = -1;
        if (const Object *declared = stream.get("Length")) {
            const std::optional<Object> value = resolve(*declared);
            if (value && value->isInteger() && value->number >= 0 && value->number <= double(data.size() - start))
                length = qsizetype(value->number);
        }
        // A wrong length: the data end where "endstream" begins.
        if (length < 0) {
            const qsizetype end = data.sliced(start).indexOf("endstream");
            if (end < 0)
                return std::nullopt;
            length = end;
        }
        const QByteArrayView raw = data.sliced(start, length);
        const Object *filter = stream.get("Filter");
        if (filter && filter->kind == Object::Array && filter->items.size() == 1)
            filter = &filter->items.front();
        if (!filter)
            return raw.toByteArray();
        if (filter->kind != Object::Name || filter->text != "FlateDecode")
            return std::nullopt;
        std::optional<QByteArray> inflated = inflate(raw);
        const Object *parameters = stream.get("DecodeParms");
        if (parameters && parameters->kind == Object::Array && parameters->items.size() == 1)
            parameters = &parameters->items.front();
        if (!inflated || !parameters || parameters->kind != Object::Dictionary)
            return inflated;
        return unpredict(*inflated, *parameters);
    }

    std::optional<QByteArray> inflate(QByteArrayView raw)
    {
        z_stream stream{};
        if (inflateInit(&stream) != Z_OK)
            return std::nullopt;
        stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(raw.data()));
        stream.avail_in = uInt(std::min<qsizetype>(raw.size(), std::numeric_limits<uInt>::max()));
        QByteArray output;
        char chunk[16384];
        int status = Z_OK;
        while (status == Z_OK) {
            stream.next_out = reinterpret_cast<Bytef *>(chunk);
            stream.avail_out = sizeof(chunk);
            status = ::inflate(&stream, Z_NO_FLUSH);
            const qsizetype produced = qsizetype(sizeof(chunk) - stream.avail_out);
            m_inflatedBytes += produced;
            if (m_inflatedBytes > kMaximumInflatedBytes) {
                status = Z_MEM_ERROR;
                break;
            }
            output.append(chunk, produced);
            if (status == Z_BUF_ERROR && produced > 0)
                status = Z_OK;
        }
        inflateEnd(&stream);
        // Data cut short still give what they hold; corrupt data give nothing.
        if (status != Z_STREAM_END && status != Z_BUF_ERROR)
            return std::nullopt;
        return output;
    }

    static std::optional<QByteArray> unpredict(const QByteArray &data, const Object &parameters)
    {
        const Object *predictor = parameters.get("Predictor");
        if (!predictor || !predictor->isInteger() || predictor->number <= 1)
            return data;
        if (predictor->number < 10)
            return std::nullopt;
        const auto integer = [&parameters](QByteArrayView key, qint64 fallback) {
            const Object *value = parameters.get(key);
            return value && value->isInteger() ? qint64(value->number) : fallback;
        };
        const qint64 colours = integer("Colors", 1);
        const qint64 bits = integer("BitsPerComponent", 8);
        const qint64 columns = integer("Columns", 1);
        if (colours < 1 || colours > 32 || bits < 1 || bits > 16 || columns < 1 || columns > (1 << 20))
            return std::nullopt;
        const qsizetype pixelBytes = qsizetype((colours * bits + 7) / 8);
        const qsizetype rowBytes = qsizetype((colours * bits * columns + 7) / 8);
        QByteArray output;
        QByteArray previous(rowBytes, '\0');
        // Each row starts with the byte that names its PNG filter.
        for (qsizetype at = 0; at + 1 + rowBytes <= data.size(); at += 1 + rowBytes) {
            const int filter = quint8(data.at(at));
            QByteArray row = data.sliced(at + 1, rowBytes);
            for (qsizetype i = 0; i < rowBytes; ++i) {
                const int left = i >= pixelBytes ? quint8(row.at(i - pixelBytes)) : 0;
                const int up = quint8(previous.at(i));
                const int upLeft = i >= pixelBytes ? quint8(previous.at(i - pixelBytes)) : 0;
                int add = 0;
                switch (filter) {
                case 0:
                    break;
                case 1:
                    add = left;
                    break;
                case 2:
                    add = up;
                    break;
                case 3:
                    add = (left + up) / 2;
                    break;
                case 4: {
                    const int estimate = left + up - upLeft;
                    const int toLeft = std::abs(estimate - left);
                    const int toUp = std::abs(estimate - up);
                    const int toUpLeft = std::abs(estimate - upLeft);
                    add = toLeft <= toUp && toLeft <= toUpLeft ? left : toUp <= toUpLeft ? up : upLeft;
                    break;
                }
                default:
                    return std::nullopt;
                }
                row[i] = char(quint8(row.at(i)) + add);
            }
            output.append(row);
            previous = row;
        }
        return output;
    }

    struct ObjectStream
    {
        QByteArray data;
        qint64 first = 0;
        qint64 count = 0;
    };

    QByteArrayView m_data;
    qsizetype m_base = 0;
    QHash<int, Entry> m_entries;
    Object m_trailer;
    QHash<int, std::shared_ptr<ObjectStream>> m_objectStreams;
    QSet<int> m_resolving;
    int m_loads = 0;
    qsizetype m_inflatedBytes = 0;
};
}

QList<PLPdfPageRotations::Page> PLPdfPageRotations::readPages(QByteArrayView pdf, int pageCount)
{
    if (pageCount <= 0)
        return {};
    const std::optional<QList<Page>> pages = Reader(pdf).pages(pageCount);
    return pages ? *pages : QList<Page>();
}
