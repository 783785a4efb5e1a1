#include "PLFuzzSupport.h"
#include "core/typesetting/PLPdfPageRotations.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    PLFuzz::initialise(argc, argv);
    return 0;
}

// Any bytes as the PDF a job wrote: the reader answers one quarter turn per page, whatever it
// finds, and comes back.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    for (int pageCount : {1, 3}) {
        const QList<int> rotations = PLPdfPageRotations::read(bytes, pageCount);
        if (rotations.size() != pageCount)
            std::abort();
        for (int rotation : rotations) {
            if (rotation != 0 && rotation != 90 && rotation != 180 && rotation != 270)
                std::abort();
        }
    }
    return 0;
}
