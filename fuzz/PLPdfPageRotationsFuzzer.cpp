#include "PLFuzzSupport.h"
#include "core/typesetting/PLPdfPageRotations.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    PLFuzz::initialise(argc, argv);
    return 0;
}

// Any bytes as the PDF a job wrote: the reader answers every page or none, each with a quarter
// turn and a size that is no negative number, and comes back.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    for (int pageCount : {1, 3}) {
        const QList<PLPdfPageRotations::Page> pages = PLPdfPageRotations::readPages(bytes, pageCount);
        if (!pages.isEmpty() && pages.size() != pageCount)
            std::abort();
        for (const PLPdfPageRotations::Page &page : pages) {
            if (page.rotation % 90 != 0 || page.rotation < 0 || page.rotation > 270 || !(page.size.width() >= 0)
                || !(page.size.height() >= 0))
                std::abort();
        }
    }
    return 0;
}
