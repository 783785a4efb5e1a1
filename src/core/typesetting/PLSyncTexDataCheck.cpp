#include "core/typesetting/PLSyncTexDataCheck.h"

#include <QFile>
#include <QFileInfo>

#include <zlib.h>

namespace {

constexpr QByteArrayView kVersionLine = "SyncTeX Version:";
constexpr QByteArrayView kPostamble = "\nPostamble:\n";
constexpr QByteArrayView kCount = "Count:";
constexpr QByteArrayView kPostScriptum = "\nPost scriptum:\n";
// Enough for the postamble and the few lines after it.
constexpr qsizetype kTailSize = 4096;
constexpr char kGzipFirstByte = '\x1f';

// The lines that may follow "Post scriptum:", each whole.
bool isPostScriptum(QByteArrayView text)
{
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf('\n');
        if (end < 0)
            return false;
        const QByteArrayView line = text.first(end);
        if (!line.startsWith("Magnification:") && !line.startsWith("X Offset:") && !line.startsWith("Y Offset:"))
            return false;
        text = text.sliced(end + 1);
    }
    return true;
}

bool endsWithPostamble(QByteArrayView tail)
{
    const qsizetype postamble = tail.lastIndexOf(kPostamble);
    if (postamble < 0)
        return false;
    const QByteArrayView rest = tail.sliced(postamble + kPostamble.size());
    if (!rest.startsWith(kCount))
        return false;
    const qsizetype scriptum = rest.indexOf(kPostScriptum);
    return scriptum >= 0 && isPostScriptum(rest.sliced(scriptum + kPostScriptum.size()));
}

}

// One gzip member after another, as the SyncTeX library reads them.
class PLSyncTexDataCheck::Inflater
{
public:
    Inflater() { m_ready = inflateInit2(&m_stream, 15 + 16) == Z_OK; }
    ~Inflater()
    {
        if (m_ready)
            inflateEnd(&m_stream);
    }
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    // Inflates the bytes and hands the text on; answers false on data that is not gzip.
    template<typename TextHandler>
    bool inflate(QByteArrayView bytes, TextHandler &&handleText)
    {
        if (!m_ready)
            return false;
        m_stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
        m_stream.avail_in = uInt(bytes.size());
        for (;;) {
            if (!m_insideMember) {
                if (m_stream.avail_in == 0)
                    return true;
                // What follows a member is another member or nothing.
                if (*m_stream.next_in != Bytef(kGzipFirstByte) || inflateReset(&m_stream) != Z_OK)
                    return false;
                m_insideMember = true;
            }
            char text[65536];
            m_stream.next_out = reinterpret_cast<Bytef *>(text);
            m_stream.avail_out = sizeof text;
            const int status = ::inflate(&m_stream, Z_NO_FLUSH);
            if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR)
                return false;
            if (!handleText(QByteArrayView(text, qsizetype(sizeof text - m_stream.avail_out))))
                return false;
            if (status == Z_STREAM_END) {
                m_insideMember = false;
                m_endedMember = true;
                continue;
            }
            // A full buffer may leave more text inside; otherwise the input is used up, or the
            // inflater cannot go on with it.
            if (m_stream.avail_out == 0)
                continue;
            if (m_stream.avail_in == 0)
                return true;
            if (status == Z_BUF_ERROR)
                return false;
        }
    }

    // Whether the last member was read to its end (and its checksum held).
    bool isAtEndOfMember() const { return m_endedMember && !m_insideMember; }

private:
    z_stream m_stream{};
    bool m_ready = false;
    bool m_insideMember = false;
    bool m_endedMember = false;
};

PLSyncTexDataCheck::PLSyncTexDataCheck() = default;

PLSyncTexDataCheck::~PLSyncTexDataCheck() = default;

void PLSyncTexDataCheck::append(QByteArrayView bytes)
{
    if (m_failed || bytes.isEmpty())
        return;
    if (!m_decided) {
        m_decided = true;
        m_compressed = bytes.front() == kGzipFirstByte;
        if (m_compressed)
            m_inflater = std::make_unique<Inflater>();
    }
    if (!m_compressed) {
        appendText(bytes);
        return;
    }
    if (!m_inflater->inflate(bytes, [this](QByteArrayView text) {
            appendText(text);
            return !m_failed;
        }))
        m_failed = true;
}

void PLSyncTexDataCheck::appendText(QByteArrayView text)
{
    m_textSize += text.size();
    if (m_textSize > kMaximumTextSize) {
        m_failed = true;
        return;
    }
    m_records.append(text);
    if (m_records.hasFailed()) {
        m_failed = true;
        return;
    }
    if (m_head.size() < kVersionLine.size())
        m_head += text.first(qMin(text.size(), kVersionLine.size() - m_head.size()));
    if (text.size() >= kTailSize) {
        m_tail = text.last(kTailSize).toByteArray();
    } else {
        m_tail += text;
        if (m_tail.size() > kTailSize)
            m_tail.remove(0, m_tail.size() - kTailSize);
    }
}

bool PLSyncTexDataCheck::isComplete() const
{
    if (m_failed || !m_decided || (m_compressed && !m_inflater->isAtEndOfMember()))
        return false;
    return m_head == kVersionLine && endsWithPostamble(m_tail) && m_records.isWellFormed();
}

bool PLSyncTexDataCheck::isComplete(QByteArrayView bytes)
{
    PLSyncTexDataCheck check;
    check.append(bytes);
    return check.isComplete();
}

bool PLSyncTexDataCheck::isCompleteFile(const QString &path)
{
    // A FIFO or a device would block the reader or never end.
    if (!QFileInfo(path).isFile())
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    PLSyncTexDataCheck check;
    QByteArray block(65536, Qt::Uninitialized);
    for (;;) {
        const qint64 read = file.read(block.data(), block.size());
        if (read < 0)
            return false;
        if (read == 0)
            break;
        check.append(QByteArrayView(block.constData(), read));
        if (check.m_failed)
            return false;
    }
    return check.isComplete();
}
