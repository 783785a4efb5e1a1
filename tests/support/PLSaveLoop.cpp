// Saves a file through the project model again and again, alternating between two texts, until
// it is killed. Tests kill it at random moments and check that the file on disk is always whole.
#include "core/project/PLFile.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2)
        return 2;
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
    const QString path = QFile::decodeName(argv[1]);
    auto file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>(nullptr), nullptr);
    if (!file)
        return 1;
    const QString a(2 * 1024 * 1024, u'a');
    const QString b(3 * 1024 * 1024, u'b');
    for (unsigned round = 0;; ++round) {
        file->contentBuffer()->setUpdateOutlineWhenReplacingCharacters(false);
        file->replaceContentStringInRange(PLRange{0, file->content().size()}, round % 2 ? a : b);
        PLError error;
        if (!file->save(&error))
            return 1;
        std::fputc('.', stdout);
        std::fflush(stdout);
    }
}
