#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "PLFuzzSupport.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"

#include <QDir>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    PLFuzz::initialise(argc, argv);
    return 0;
}

// Any engine output through every strategy, and every item read back.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = PLFuzz::text(data, size);
    PLFilePool pool;
    const auto root = PLFile::fileWithPath(QDir(PLFuzz::emptyFolder()).filePath(QStringLiteral("main.tex")), nullptr);
    PLTypesettingLogFileParser parser(root);
    parser.parseLogString(output);
    for (qsizetype i = 0; i <= parser.itemCount(); ++i)
        parser.itemAtIndex(i);
    PLTypesettingLogFileParser::countUnclosedBracketsInArea(output);
    return 0;
}
