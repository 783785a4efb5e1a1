#include "PLFuzzSupport.h"
#include "core/typesetting/PLSyncTexDataCheck.h"
#include "core/typesetting/PLSyncTexSearch.h"

#include <QDir>
#include <QFile>

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    PLFuzz::initialise(argc, argv);
    QDir().mkpath(PLFuzz::emptyFolder());
    return 0;
}

// Any bytes as the SyncTeX file beside a PDF, as a stopped job or a full disk may leave it: the
// check must agree with itself fed in pieces, and searches on what it lets through must not crash.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    PLSyncTexDataCheck pieces;
    pieces.append(bytes.first(bytes.size() / 2));
    pieces.append(bytes.sliced(bytes.size() / 2));
    if (pieces.isComplete() != PLSyncTexDataCheck::isComplete(bytes))
        std::abort();

    const QDir folder(PLFuzz::emptyFolder());
    QFile synctex(folder.filePath(QStringLiteral("main.synctex")));
    if (!synctex.open(QIODevice::WriteOnly | QIODevice::Truncate) || synctex.write(bytes.data(), bytes.size()) != bytes.size())
        std::abort();
    synctex.close();

    const PLSyncTexSearch search(folder.filePath(QStringLiteral("main.pdf")));
    for (int line = 1; line <= 6; ++line) {
        search.forwardSearch(QStringLiteral("/project/main.tex"), line, 0);
        search.forwardSearch(QStringLiteral("/project/two.tex"), line, 0);
    }
    for (const double v : {0.0, 100.0, 400.0, 800.0})
        search.backwardSearch(1, 150.0, v, folder.path());
    return 0;
}
