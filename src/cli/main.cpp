#include "cli/PLCliCommands.h"
#include "cli/PLCliProject.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QCoreApplication>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {
void printHelp()
{
    QString text = QStringLiteral(
        "Usage: plumeo-cli COMMAND [ARGUMENTS]\n"
        "The command-line companion of the Plumeo LaTeX editor. Prints JSON on standard output.\n"
        "Exit status: 0 on success, 1 when the input cannot be processed, 2 on a usage error.\n\n"
        "Commands:\n");
    for (const PLCliCommand &command : PLCliAllCommands())
        text += QStringLiteral("  ") + command.synopsis + u'\n';
    text += QStringLiteral("\nOptions:\n  --help     show this help\n  --version  show the version\n\n"
                           "See docs/cli.md for the JSON each command prints.\n");
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

// A project's texts and outline are many small blocks that live until the command ends, and
// first touching each page of them cost a third of opening one. The heap is therefore reserved up
// front in large pages, where the system offers them, and freed memory is kept for reuse instead
// of being handed back. Only address space is reserved: pages count once they are used.
void reserveHeapInLargePages()
{
    constexpr int reserve = 1 << 30;
    constexpr uintptr_t largePage = uintptr_t(2) << 20;
    // Blocks up to the largest threshold the allocator takes, most files' texts, come from the
    // heap too rather than from a mapping of their own each.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, -1);
    mallopt(M_TOP_PAD, reserve);
    const uintptr_t start = uintptr_t(sbrk(0));
    // Larger than what is left at the top of the heap, so the heap grows by the whole reserve.
    void *volatile grown = malloc(mallinfo2().keepcost + 4096);
    free(grown);
    mallopt(M_TOP_PAD, 128 << 10);
    const uintptr_t end = uintptr_t(sbrk(0));
    const uintptr_t from = (start + largePage - 1) & ~(largePage - 1);
    if (end > from + largePage)
        madvise(reinterpret_cast<void *>(from), end - from, MADV_HUGEPAGE);
}

int run(QStringList arguments)
{
    if (arguments.isEmpty())
        return (printHelp(), PLCliUsageError);
    const QString first = arguments.takeFirst();
    if (first == u"--help" || first == u"-h" || first == u"help") {
        printHelp();
        return PLCliSuccess;
    }
    if (first == u"--version") {
        std::printf("plumeo-cli %s\n", PLUMEO_VERSION);
        return PLCliSuccess;
    }
    for (const PLCliCommand &command : PLCliAllCommands()) {
        if (command.name == first)
            return command.run(arguments);
    }
    return PLCliFail(PLCliUsageError, QStringLiteral("unknown command ") + first + QStringLiteral(" (see --help)"));
}
}

int main(int argc, char *argv[])
{
    reserveHeapInLargePages();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("plumeo-cli"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PLUMEO_VERSION));
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.registerDefaults(PLRegisteredUserDefaults());

    const int status = run(app.arguments().mid(1));
    std::fflush(stdout);
    std::fflush(stderr);
#ifndef PLUMEO_SANITIZED
    // A project's files and outline are thousands of small blocks. Handing each back to the heap
    // just before the system takes back the whole process cost a twentieth of opening one, so a
    // plain build leaves its projects open and ends here. Sanitizer builds close them, so that
    // their leak checks still look at everything.
    defaults.synchronize();
    std::_Exit(status);
#else
    PLCliCloseProjects();
    return status;
#endif
}
