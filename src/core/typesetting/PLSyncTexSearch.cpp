#include "PLSyncTexSearch.h"

#include "PLLogging.h"
#include "PLSyncTexDataCheck.h"

#include <QDir>
#include <QFileInfo>

#include <synctex/synctex_parser.h>

#include <memory>

namespace {

struct ScannerDeleter
{
    void operator()(synctex_scanner_p scanner) const { synctex_scanner_free(scanner); }
};
using Scanner = std::unique_ptr<synctex_scanner_s, ScannerDeleter>;

Scanner openScanner(const QString &pdfPath)
{
    // Asked for a file that is not there, this library release keeps the scanner it made, and on
    // data cut short it reads through null pointers: so it is only asked when the SyncTeX data
    // beside the PDF is whole.
    const QString base = pdfPath.endsWith(QStringLiteral(".pdf")) ? pdfPath.chopped(4) : pdfPath;
    bool found = false;
    for (const QString &path : {QString(base + QStringLiteral(".synctex.gz")), QString(base + QStringLiteral(".synctex"))}) {
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

}

PLSyncTexSearch::PLSyncTexSearch(QString pdfPath) : m_pdfPath(std::move(pdfPath)) {}

QList<PLSyncTexForwardResult> PLSyncTexSearch::forwardSearch(const QString &sourceFilePath, int line, int column) const
{
    QList<PLSyncTexForwardResult> results;
    const Scanner scanner = openScanner(m_pdfPath);
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
        if (synctex_scanner_get_tag(scanner.get(), name.constData()) != 0)
            break;
        name.clear();
    }
    if (name.isEmpty())
        return results;
    const synctex_status_t count = synctex_display_query(scanner.get(), name.constData(), line, column, -1);
    if (count <= 0)
        return results;
    while (synctex_node_p node = synctex_scanner_next_result(scanner.get())) {
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
    QList<PLSyncTexBackwardResult> results;
    qCInfo(lcSyncTex, "pageNumber: %d, h: %d, v: %d", page, int(h), int(v));
    const Scanner scanner = openScanner(m_pdfPath);
    if (!scanner || synctex_edit_query(scanner.get(), page, float(h), float(v)) <= 0)
        return results;
    while (synctex_node_p node = synctex_scanner_next_result(scanner.get())) {
        const char *name = synctex_scanner_get_name(scanner.get(), synctex_node_tag(node));
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
