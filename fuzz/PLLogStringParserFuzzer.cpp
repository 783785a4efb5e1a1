#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "PLFuzzSupport.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLLogStringParser.h"

#include <QDir>

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    PLFuzz::initialise(argc, argv);
    return 0;
}

// Any engine output, read twice by one parser as two jobs of the same document would be.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = PLFuzz::text(data, size);
    PLFilePool pool;
    const auto root = PLFile::fileWithPath(QDir(PLFuzz::emptyFolder()).filePath(QStringLiteral("main.tex")), nullptr);
    PLLogStringParser parser(root);
    parser.parseLogString(output);
    parser.parseLogString(output);
    for (const PLLogStringParser::Items *items : {&parser.warningsFound(), &parser.errorsFound()}) {
        for (const std::shared_ptr<PLLogItem> &item : *items) {
            if (!item)
                std::abort();
        }
    }
    return 0;
}
