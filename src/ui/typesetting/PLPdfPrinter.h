#pragma once

class QPdfDocument;
class QPrinter;

// Prints the pages of a loaded PDF that the printer's page range asks for, each rendered with
// Qt PDF, fitted to the printable area and turned when its orientation differs from the paper's.
namespace PLPdfPrinter {

// Rendering stops at this resolution: a page at a printer's full 1200 dpi would take half a
// gigabyte of memory and look no different on paper.
constexpr int kMaximumRenderingResolution = 300;

bool printDocument(QPdfDocument &document, QPrinter &printer);

}
