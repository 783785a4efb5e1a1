#include "core/typesetting/PLPdfPageRotations.h"

#include <QByteArray>
#include <QMap>

#include <gtest/gtest.h>

#include <zlib.h>

namespace {

QByteArray deflated(const QByteArray &data)
{
    uLongf size = compressBound(uLong(data.size()));
    QByteArray out(qsizetype(size), '\0');
    compress(reinterpret_cast<Bytef *>(out.data()), &size, reinterpret_cast<const Bytef *>(data.constData()), uLong(data.size()));
    out.truncate(qsizetype(size));
    return out;
}

// Writes the objects (number to body) as a PDF with a classic cross-reference table.
QByteArray classicPdf(const QMap<int, QByteArray> &objects, const QByteArray &root = "1 0 R")
{
    QByteArray pdf = "%PDF-1.4\n";
    QMap<int, qsizetype> offsets;
    for (auto it = objects.cbegin(); it != objects.cend(); ++it) {
        offsets.insert(it.key(), pdf.size());
        pdf += QByteArray::number(it.key()) + " 0 obj\n" + it.value() + "\nendobj\n";
    }
    const int size = objects.isEmpty() ? 1 : objects.lastKey() + 1;
    const qsizetype table = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(size) + "\n0000000000 65535 f \n";
    for (int number = 1; number < size; ++number) {
        pdf += QByteArray::number(offsets.value(number)).rightJustified(10, '0');
        pdf += offsets.contains(number) ? " 00000 n \n" : " 00000 f \n";
    }
    pdf += "trailer\n<< /Size " + QByteArray::number(size) + " /Root " + root + " >>\nstartxref\n";
    pdf += QByteArray::number(table) + "\n%%EOF\n";
    return pdf;
}

// The same objects packed into one object stream, found through a cross-reference stream whose
// rows are PNG-predicted ("Up"), as pdfTeX writes at its highest object compression.
QByteArray compressedPdf(const QMap<int, QByteArray> &objects)
{
    const int streamNumber = objects.lastKey() + 1;
    const int xrefNumber = streamNumber + 1;
    QByteArray header;
    QByteArray body;
    for (auto it = objects.cbegin(); it != objects.cend(); ++it) {
        header += QByteArray::number(it.key()) + ' ' + QByteArray::number(body.size()) + ' ';
        body += it.value() + '\n';
    }
    const QByteArray packed = deflated(header + body);
    QByteArray pdf = "%PDF-1.5\n";
    const qsizetype streamOffset = pdf.size();
    pdf += QByteArray::number(streamNumber) + " 0 obj\n<< /Type /ObjStm /N " + QByteArray::number(objects.size()) + " /First "
           + QByteArray::number(header.size()) + " /Length " + QByteArray::number(packed.size()) + " /Filter /FlateDecode >>\nstream\n"
           + packed + "\nendstream\nendobj\n";
    const qsizetype xrefOffset = pdf.size();
    // Rows of type (1 byte), field 2 (2 bytes), field 3 (1 byte), each stored as its difference from
    // the row above: packed objects name their stream and index, the two streams their offset.
    QByteArray predicted;
    QByteArray previous(4, '\0');
    for (int number = 0; number <= xrefNumber; ++number) {
        const bool inStream = objects.contains(number);
        const char type = inStream ? 2 : number >= streamNumber ? 1 : 0;
        const qsizetype field = inStream ? streamNumber : type ? (number == streamNumber ? streamOffset : xrefOffset) : 0;
        const char index = inStream ? char(std::distance(objects.cbegin(), objects.find(number))) : 0;
        const char row[] = {type, char(field >> 8), char(field), index};
        predicted += char(2);
        for (int i = 0; i < 4; ++i)
            predicted += char(quint8(row[i]) - quint8(previous.at(i)));
        previous = QByteArray(row, 4);
    }
    const QByteArray xref = deflated(predicted);
    pdf += QByteArray::number(xrefNumber) + " 0 obj\n<< /Type /XRef /Size " + QByteArray::number(xrefNumber + 1)
           + " /W [1 2 1] /Root 1 0 R /Filter /FlateDecode /DecodeParms << /Columns 4 /Predictor 12 >> /Length "
           + QByteArray::number(xref.size()) + " >>\nstream\n" + xref + "\nendstream\nendobj\nstartxref\n"
           + QByteArray::number(xrefOffset) + "\n%%EOF\n";
    return pdf;
}

// A catalog, a root node that turns its pages by the given amount, and an inner node with its
// own turn around the last two pages; page 3 also turns itself, page 5 is cropped partly beyond
// the media box.
QMap<int, QByteArray> tree(const QByteArray &rootRotate, const QByteArray &innerRotate, const QByteArray &pageRotate)
{
    return {
        {1, "<< /Type /Catalog /Pages 2 0 R >>"},
        {2, "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 3 " + rootRotate + " /MediaBox [0 0 300 200] >>"},
        {3, "<< /Type /Page /Parent 2 0 R " + pageRotate + " >>"},
        {4, "<< /Type /Pages /Parent 2 0 R /Kids [5 0 R 6 0 R] /Count 2 " + innerRotate + " >>"},
        {5, "<< /Type /Page /Parent 4 0 R /Contents 7 0 R /CropBox [-10 10 110 60] >>"},
        {6, "<< /Type /Page /Parent 4 0 R /Rotate 7 0 R >>"},
        {7, "-90"},
    };
}

// The turns read, 0 for every page when the file cannot be followed.
QList<int> rotations(QByteArrayView pdf, int pageCount)
{
    const QList<PLPdfPageRotations::Page> pages = PLPdfPageRotations::readPages(pdf, pageCount);
    QList<int> turns(pageCount, 0);
    for (qsizetype page = 0; page < pages.size(); ++page)
        turns[page] = pages.at(page).rotation;
    return turns;
}

// Turns are inherited from the nearest node that has one, may be indirect, and come out as a
// quarter turn between 0 and 270 whatever their sign or size; both file layouts agree. A page is
// drawn at its crop box within its media box, turned.
TEST(PdfPageRotations, InheritAndNormaliseInClassicAndCompressedFiles)
{
    for (const auto &[rootRotate, innerRotate, pageRotate, expected] :
         {std::tuple<const char *, const char *, const char *, QList<int>>{"", "", "", {0, 0, 270}},
          {"/Rotate 90", "", "", {90, 90, 270}},
          {"/Rotate 180", "/Rotate 0", "/Rotate 450", {90, 0, 270}},
          {"/Rotate -90", "/Rotate 135", "/Rotate 45", {0, 90, 270}},
          {"/Rotate 720", "/Rotate -540", "/Rotate /Ninety", {0, 180, 270}}}) {
        SCOPED_TRACE(testing::Message() << rootRotate << innerRotate << pageRotate);
        const QMap<int, QByteArray> objects = tree(rootRotate, innerRotate, pageRotate);
        EXPECT_EQ(rotations(classicPdf(objects), 3), expected);
        EXPECT_EQ(rotations(compressedPdf(objects), 3), expected);
        const QList<PLPdfPageRotations::Page> pages = PLPdfPageRotations::readPages(classicPdf(objects), 3);
        ASSERT_EQ(pages.size(), 3);
        const QSizeF upright[] = {{300, 200}, {110, 50}, {300, 200}};
        for (int page = 0; page < 3; ++page)
            EXPECT_EQ(pages.at(page).size, expected.at(page) % 180 ? upright[page].transposed() : upright[page]) << page;
        // Bytes before the header move every offset along.
        EXPECT_EQ(rotations(QByteArray("junk\n").append(classicPdf(objects)), 3), expected);
    }
}

// What cannot be followed gives 0 for every page, at once: cycles, lies, cuts and wrong counts.
TEST(PdfPageRotationsDamage, GiveUprightPages)
{
    QMap<int, QByteArray> cycle = tree("/Rotate 90", "", "");
    cycle[4] = "<< /Type /Pages /Kids [5 0 R 2 0 R] /Count 2 >>";
    QMap<int, QByteArray> deep = tree("/Rotate 90", "", "");
    deep[1] = "<< /Type /Catalog /Pages 2 0 R /Deep " + QByteArray(100, '[') + QByteArray(100, ']') + " >>";
    const QByteArray whole = classicPdf(tree("/Rotate 90", "", ""));
    const QByteArray compressed = compressedPdf(tree("/Rotate 90", "", ""));
    QByteArray wrongOffset = whole;
    wrongOffset.replace("startxref\n", "startxref\n9");
    const QByteArray inputs[] = {
        QByteArray(),
        "%PDF-1.4\nnot a pdf at all",
        classicPdf(cycle),
        whole.left(whole.size() / 2),
        wrongOffset,
        classicPdf(tree("/Rotate 90", "", ""), "99 0 R"),
        QByteArray(compressed).replace("/Filter /FlateDecode >>", "/Filter /RunLengthDe >>"),
        QByteArray(compressed).replace("/Predictor 12", "/Predictor 2 "),
        QByteArray(whole).replace("[3 0 R 4 0 R]", "[3 0 R 3 0 R]"),
        classicPdf(deep),
    };
    for (const QByteArray &input : inputs)
        EXPECT_EQ(rotations(input, 3), QList<int>(3, 0)) << input.left(80).toStdString();
    EXPECT_EQ(rotations(whole, 2), QList<int>(2, 0));
    EXPECT_TRUE(PLPdfPageRotations::readPages(whole, 0).isEmpty());
}

// A later update overrides a page of the first one; the reader follows /Prev back for the rest.
TEST(PdfPageRotationsUpdates, TheNewestSectionWins)
{
    QByteArray pdf = classicPdf(tree("", "", ""));
    const qsizetype previous = pdf.mid(pdf.lastIndexOf("startxref") + 10).trimmed().split('\n').first().toLongLong();
    const qsizetype offset = pdf.size();
    pdf += "5 0 obj\n<< /Type /Page /Parent 4 0 R /Rotate 180 >>\nendobj\n";
    const qsizetype table = pdf.size();
    pdf += "xref\n5 1\n" + QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \ntrailer\n<< /Size 8 /Root 1 0 R /Prev "
           + QByteArray::number(previous) + " >>\nstartxref\n" + QByteArray::number(table) + "\n%%EOF\n";
    EXPECT_EQ(rotations(pdf, 3), (QList<int>{0, 180, 270}));
}

}
