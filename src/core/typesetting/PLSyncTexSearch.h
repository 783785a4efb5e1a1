#pragma once

#include <QList>
#include <QString>

typedef struct synctex_scanner_t synctex_scanner_s;
typedef synctex_scanner_s *synctex_scanner_p;

// One place in the PDF that a source line produced. Positions are PDF points measured from the
// top-left corner of the page.
struct PLSyncTexForwardResult
{
    int page = 0; // 1-based
    double h = 0;
    double v = 0;
    // The enclosing box: its left edge, its baseline, and its size above and below the baseline.
    double boxH = 0;
    double boxV = 0;
    double boxWidth = 0;
    double boxHeight = 0;
    double boxDepth = 0;
};

// One source place that produced a point of the PDF.
struct PLSyncTexBackwardResult
{
    QString fileName; // as the engine recorded it
    QString filePath; // the path the editor opens
    int line = 0;     // 1-based
    int column = -1;  // the library answers -1
};

// Forward and backward search through the ".synctex.gz" file that the engine writes beside the
// PDF. The file is checked and parsed once and kept while it stays as it was read; a PDF that was
// typeset again is searched in its new state. A missing, unreadable, cut short or damaged SyncTeX
// file gives no results. Safe to use from any thread.
class PLSyncTexSearch
{
public:
    explicit PLSyncTexSearch(QString pdfPath);

    const QString &pdfPath() const { return m_pdfPath; }

    // A job has just rewritten the PDF's SyncTeX data: what was kept of it is no longer used; the new
    // data is parsed on a worker, so that the first search after the job is answered at once. A
    // search that comes before the worker is done waits for it.
    static void prepare(const QString &pdfPath);
    // Whether the PDF's SyncTeX data is parsed and kept, as it is now on disk.
    static bool isRead(const QString &pdfPath);
    // How many times SyncTeX data was parsed in this process.
    static quint64 parseCount();

    // Where the line of the source file went. The library is asked by the file's path from the
    // PDF's folder first (chapters/intro.tex and intro.tex are two files), then by its name alone,
    // then by its full path.
    QList<PLSyncTexForwardResult> forwardSearch(const QString &sourceFilePath, int line, int column) const;

    // Which source lines produced the point (h, v) of the 1-based page. A relative name is
    // joined to mainFileFolder with "/" in between; an absolute name is taken as it is, cleaned
    // of "." components.
    QList<PLSyncTexBackwardResult> backwardSearch(int page, double h, double v, const QString &mainFileFolder) const;

private:
    QList<PLSyncTexForwardResult> forwardSearch(synctex_scanner_p scanner, const QString &sourceFilePath, int line,
                                                int column) const;
    QList<PLSyncTexBackwardResult> backwardSearch(synctex_scanner_p scanner, int page, double h, double v,
                                                  const QString &mainFileFolder) const;

    QString m_pdfPath;
};
