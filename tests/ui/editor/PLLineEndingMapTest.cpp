#include "ui/editor/PLLineEndingMap.h"

#include <gtest/gtest.h>

namespace {

// The mirror position of every text position, counted the slow way.
qsizetype slowMirrorPosition(const QString &text, qsizetype location)
{
    qsizetype mirror = 0;
    for (qsizetype index = 0; index < location; ++index) {
        const bool lfOfPair = text.at(index) == u'\n' && index > 0 && text.at(index - 1) == u'\r';
        if (!lfOfPair)
            ++mirror;
    }
    // Between the CR and the LF of a pair counts as after the pair.
    return mirror;
}

void expectMapsLike(const PLLineEndingMap &map, const QString &text)
{
    for (qsizetype location = 0; location <= text.size(); ++location) {
        const bool insidePair = location > 0 && location < text.size() && text.at(location - 1) == u'\r' && text.at(location) == u'\n';
        const qsizetype mirror = map.toMirror(location);
        EXPECT_EQ(mirror, slowMirrorPosition(text, location + (insidePair ? 1 : 0))) << "text position " << location;
        if (!insidePair) {
            EXPECT_EQ(map.toText(mirror), location) << "mirror position " << mirror;
        }
    }
    EXPECT_EQ(map.toMirror(text.size()), PLLineEndingMap::mirrorString(text).size());
}

TEST(LineEndingMap, MapsBothWaysAroundEveryKindOfLineBreak)
{
    const QString text = QStringLiteral("a\r\nbc\rd\n\r\n\r\ne\u2029f\r");
    PLLineEndingMap map;
    map.reset(text);
    expectMapsLike(map, text);
    EXPECT_EQ(PLLineEndingMap::mirrorString(text), QStringLiteral("a\u2029bc\u2029d\u2029\u2029\u2029e\u2029f\u2029"));
}

// Each edit's map agrees with a map made from the edited text.
TEST(LineEndingMap, UpdatesLikeAMapMadeFromTheEditedText)
{
    const std::tuple<const char *, qsizetype, qsizetype, const char *> edits[] = {
        {"a\r\nb\r\nc", 1, 0, "x"},       // typing before a pair
        {"a\r\nb\r\nc", 3, 0, "x"},       // typing after a pair shifts the later one
        {"a\r\nb\r\nc", 1, 2, ""},        // joining two lines removes the pair
        {"a\r\nb", 2, 1, ""},             // the LF of a pair alone: a lone CR stays
        {"a\r\nb", 1, 1, ""},             // the CR of a pair alone: a lone LF stays
        {"a\rb", 2, 0, "\n"},             // an LF after a lone CR makes a pair
        {"a\nb", 1, 0, "\r"},             // a CR before a lone LF makes a pair
        {"a\r\nb", 2, 0, "x"},            // typing between CR and LF splits the pair
        {"ab", 1, 0, "\r\n\r\n"},         // pasting Windows lines
        {"a\r\nb\r\nc\r\nd", 2, 5, "\n"}};
    for (const auto &[before, location, length, replacement] : edits) {
        SCOPED_TRACE(before);
        QString text = QString::fromLatin1(before);
        PLLineEndingMap map;
        map.reset(text);
        text.replace(location, length, QString::fromLatin1(replacement));
        map.update(text, location, length, qstrlen(replacement));
        expectMapsLike(map, text);
    }
}

}
