#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>

namespace PLFuzz {

// Once per process: an application object and settings of our own, in a temporary folder, with
// the registered defaults, so colouring and parsing run as they do in the editor.
void initialise(int *argc, char ***argv);

// A folder that stays empty, for the main file of a document that has no files on disk.
QString emptyFolder();

// The input as text: UTF-8, so the fixtures seed it as they are; after a leading zero byte, the
// rest as raw UTF-16 code units, so that broken surrogate pairs are reached too.
QString text(const uint8_t *data, size_t size);

}
