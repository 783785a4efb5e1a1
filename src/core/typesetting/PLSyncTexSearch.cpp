#include "core/typesetting/PLSyncTexSearch.h"

#include "core/foundation/PLLogging.h"
#include "core/typesetting/PLSyncTexDataCheck.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThreadPool>

#include <synctex/synctex_parser.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <unordered_map>

#include <sys/stat.h>

namespace {

struct ScannerDeleter
{
    void operator()(synctex_scanner_p scanner) const { synctex_scanner_free(scanner); }
};
using Scanner = std::unique_ptr<synctex_scanner_s, ScannerDeleter>;

// What the SyncTeX files beside a PDF were when they were read: a new job rewrites them.
struct DataStamp
{
    QString path;
    qint64 size = -1;
    qint64 modifiedNanoseconds = -1;
    qint64 inode = -1;

    bool operator==(const DataStamp &other) const = default;
};

DataStamp stampOf(const QString &path)
{
    struct stat status;
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return DataStamp{path};
    return DataStamp{path, qint64(status.st_size), qint64(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec,
                     qint64(status.st_ino)};
}

Scanner openScanner(const QString &pdfPath, const std::array<QString, 2> &dataPaths)
{
    // Asked for a file that is not there, this library release keeps the scanner it made, and on
    // damaged data it reads through null pointers: so it is only asked when the SyncTeX data
    // beside the PDF is whole.
    bool found = false;
    for (const QString &path : dataPaths) {
        if (!QFileInfo::exists(path))
            continue;
        if (!PLSyncTexDataCheck::isCompleteFile(path)) {
            qCInfo(lcSyncTex).noquote() << "SyncTeX data cut short or damaged, not read:" << path;
            return nullptr;
        }
        found = true;
    }
    if (!found) {
        qCDebug(lcSyncTex).noquote() << "no SyncTeX data for" << pdfPath;
        return nullptr;
    }
    Scanner scanner(synctex_scanner_new_with_output_file(pdfPath.toUtf8().constData(), "", 1));
    if (!scanner)
        qCDebug(lcSyncTex).noquote() << "no SyncTeX data for" << pdfPath;
    return scanner;
}

std::array<QString, 2> dataPathsOf(const QString &pdfPath)
{
    const QString base = pdfPath.endsWith(QStringLiteral(".pdf")) ? pdfPath.chopped(4) : pdfPath;
    return {base + QStringLiteral(".synctex.gz"), base + QStringLiteral(".synctex")};
}

std::array<DataStamp, 2> stampsOf(const std::array<QString, 2> &paths)
{
    return {stampOf(paths[0]), stampOf(paths[1])};
}

std::atomic<quint64> parses{0};

Scanner parseScanner(const QString &pdfPath, const std::array<QString, 2> &paths)
{
    parses.fetch_add(1);
    return openScanner(pdfPath, paths);
}

// One parsed scanner per PDF, kept while the SyncTeX files stay as they were read: checking and
// parsing a large document takes far longer than any query. Queries share the scanner's result
// list, so one runs at a time. After a job the parse is done on a worker; a query that comes while
// it is under way waits for it rather than parsing the same file a second time.
class ScannerCache
{
public:
    static ScannerCache &shared()
    {
        // Never destroyed: a worker may still be parsing when the application exits.
        static auto *cache = new ScannerCache;
        return *cache;
    }

    template<typename Query>
    auto query(const QString &pdfPath, Query &&run)
    {
        const std::array<QString, 2> paths = dataPathsOf(pdfPath);
        const std::array<DataStamp, 2> stamps = stampsOf(paths);
        std::unique_lock lock(m_mutex);
        Entry &entry = m_entries[pdfPath];
        m_parsed.wait(lock, [&entry] { return entry.state != Entry::Parsing; });
        if (entry.state != Entry::Read || entry.stamps != stamps) {
            entry.scanner = parseScanner(pdfPath, paths);
            entry.stamps = stamps;
            entry.state = Entry::Read;
        }
        return run(entry.scanner.get());
    }

    void prepare(const QString &pdfPath)
    {
        {
            // The old scanner stays until the worker replaces it: freeing a large one takes a while.
            const std::lock_guard lock(m_mutex);
            Entry &entry = m_entries[pdfPath];
            if (entry.state == Entry::Waiting || entry.state == Entry::Parsing)
                return;
            entry.state = Entry::Waiting;
        }
        // The worker learns which PDF from the table, under the lock, not from the pool's queue.
        QThreadPool::globalInstance()->start([] { ScannerCache::shared().parseWaiting(); });
    }

    bool isRead(const QString &pdfPath)
    {
        const std::array<DataStamp, 2> stamps = stampsOf(dataPathsOf(pdfPath));
        const std::lock_guard lock(m_mutex);
        const auto found = m_entries.find(pdfPath);
        return found != m_entries.end() && found->second.state == Entry::Read && found->second.stamps == stamps;
    }

private:
    struct Entry
    {
        enum State { Unread, Waiting, Parsing, Read };
        Scanner scanner;
        std::array<DataStamp, 2> stamps;
        State state = Unread;
    };

    // On a worker: parses one PDF's data that waits for it, outside the lock.
    void parseWaiting()
    {
        QString pdfPath;
        {
            const std::lock_guard lock(m_mutex);
            const auto waiting = std::find_if(m_entries.begin(), m_entries.end(),
                                              [](const auto &entry) { return entry.second.state == Entry::Waiting; });
            if (waiting == m_entries.end())
                return;
            pdfPath = waiting->first;
            waiting->second.state = Entry::Parsing;
        }
        const std::array<QString, 2> paths = dataPathsOf(pdfPath);
        const std::array<DataStamp, 2> stamps = stampsOf(paths);
        Scanner scanner = parseScanner(pdfPath, paths);
        {
            const std::lock_guard lock(m_mutex);
            Entry &entry = m_entries[pdfPath];
            std::swap(entry.scanner, scanner);
            entry.stamps = stamps;
            entry.state = Entry::Read;
        }
        m_parsed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_parsed;
    std::unordered_map<QString, Entry> m_entries;
};

}

PLSyncTexSearch::PLSyncTexSearch(QString pdfPath) : m_pdfPath(std::move(pdfPath)) {}

void PLSyncTexSearch::prepare(const QString &pdfPath)
{
    ScannerCache::shared().prepare(pdfPath);
}

bool PLSyncTexSearch::isRead(const QString &pdfPath)
{
    return ScannerCache::shared().isRead(pdfPath);
}

quint64 PLSyncTexSearch::parseCount()
{
    return parses.load();
}

QList<PLSyncTexForwardResult> PLSyncTexSearch::forwardSearch(const QString &sourceFilePath, int line, int column) const
{
    return ScannerCache::shared().query(m_pdfPath, [&](synctex_scanner_p scanner) {
        return forwardSearch(scanner, sourceFilePath, line, column);
    });
}

QList<PLSyncTexForwardResult> PLSyncTexSearch::forwardSearch(synctex_scanner_p scanner, const QString &sourceFilePath,
                                                             int line, int column) const
{
    QList<PLSyncTexForwardResult> results;
    if (!scanner)
        return results;
    // Asked by a name it does not know, the library complains on standard output; ask whether it
    // knows the name first. The path from the PDF's folder tells apart two files of one name in
    // different folders; the file's name alone is what the library knows of a file it recorded
    // otherwise, and the full path is the last resort.
    const QFileInfo source(sourceFilePath);
    QByteArray name;
    for (const QString &candidate : {QFileInfo(m_pdfPath).dir().relativeFilePath(source.absoluteFilePath()),
                                     source.fileName(), sourceFilePath}) {
        name = candidate.toUtf8();
        if (synctex_scanner_get_tag(scanner, name.constData()) != 0)
            break;
        name.clear();
    }
    if (name.isEmpty())
        return results;
    const synctex_status_t count = synctex_display_query(scanner, name.constData(), line, column, -1);
    if (count <= 0)
        return results;
    while (synctex_node_p node = synctex_scanner_next_result(scanner)) {
        PLSyncTexForwardResult result;
        result.page = synctex_node_page(node);
        result.h = synctex_node_visible_h(node);
        result.v = synctex_node_visible_v(node);
        result.boxH = synctex_node_box_visible_h(node);
        result.boxV = synctex_node_box_visible_v(node);
        result.boxWidth = synctex_node_box_visible_width(node);
        result.boxHeight = synctex_node_box_visible_height(node);
        result.boxDepth = synctex_node_box_visible_depth(node);
        results.append(result);
    }
    return results;
}

QList<PLSyncTexBackwardResult> PLSyncTexSearch::backwardSearch(int page, double h, double v,
                                                               const QString &mainFileFolder) const
{
    qCInfo(lcSyncTex, "pageNumber: %d, h: %d, v: %d", page, int(h), int(v));
    return ScannerCache::shared().query(m_pdfPath, [&](synctex_scanner_p scanner) {
        return backwardSearch(scanner, page, h, v, mainFileFolder);
    });
}

QList<PLSyncTexBackwardResult> PLSyncTexSearch::backwardSearch(synctex_scanner_p scanner, int page, double h, double v,
                                                               const QString &mainFileFolder) const
{
    QList<PLSyncTexBackwardResult> results;
    if (!scanner || synctex_edit_query(scanner, page, float(h), float(v)) <= 0)
        return results;
    while (synctex_node_p node = synctex_scanner_next_result(scanner)) {
        const char *name = synctex_scanner_get_name(scanner, synctex_node_tag(node));
        if (!name) {
            qCInfo(lcSyncTex, "fileNameToSyncTo was NULL");
            continue;
        }
        PLSyncTexBackwardResult result;
        result.fileName = QString::fromUtf8(name);
        // The engine records absolute names here; a relative one is taken from the PDF's folder.
        result.filePath = QDir::isAbsolutePath(result.fileName) ? QDir::cleanPath(result.fileName)
                                                                : mainFileFolder + u'/' + result.fileName;
        result.line = synctex_node_line(node);
        result.column = synctex_node_column(node);
        results.append(result);
    }
    return results;
}
