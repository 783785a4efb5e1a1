#include "core/project/PLFileEncodingComboBoxDataSource.h"
#include "core/foundation/PLStringEncoding.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <gtest/gtest.h>

namespace {

struct DecodeCase
{
    PLStringEncoding encoding;
    QByteArray bytes;
    const char16_t *expected; // null: decoding must fail
};

class StrictDecoding : public ::testing::TestWithParam<DecodeCase>
{
};

TEST_P(StrictDecoding, DecodesValidInputAndFailsOnInvalidInput)
{
    const auto &c = GetParam();
    PLError error;
    const auto text = PLStringEncodings::decode(c.bytes, c.encoding, &error);
    if (!c.expected) {
        EXPECT_FALSE(text);
        EXPECT_FALSE(error.message.isEmpty());
        return;
    }
    ASSERT_TRUE(text) << error.message.toStdString();
    EXPECT_EQ(*text, QStringView(c.expected).toString()); // fromUtf16 would drop a byte order mark
    // Writing the text back gives the same bytes.
    const auto bytes = PLStringEncodings::encode(*text, c.encoding);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, c.bytes);
}

INSTANTIATE_TEST_SUITE_P(
    FourEncodings, StrictDecoding,
    ::testing::Values(
        DecodeCase{4, QByteArray("Gr\xc3\xbc\xc3\x9f \xf0\x9d\x94\xb8"), u"Grüß 𝔸"},
        DecodeCase{4, QByteArray("Gr\xfc\xdf"), nullptr},                // Latin-1 bytes are not UTF-8
        DecodeCase{4, QByteArray("\xc3"), nullptr},                      // truncated sequence
        DecodeCase{4, QByteArray("\xed\xa0\x80"), nullptr},              // encoded surrogate
        DecodeCase{4, QByteArray("\xc0\xaf"), nullptr},                  // overlong form
        DecodeCase{4, QByteArray("caf\xe9"), nullptr},                    // text ends inside a sequence
        DecodeCase{4, QByteArray("\xf4\x90\x80\x80"), nullptr},          // past U+10FFFF
        DecodeCase{4, QByteArray("\xef\xbb\xbf" "AB"), u"\ufeffAB"},           // a byte order mark stays
        DecodeCase{4, QByteArray(), u""},
        DecodeCase{5, QByteArray("Gr\xfc\xdf \xa9"), u"Grüß ©"},
        DecodeCase{9, QByteArray("\xa3\xf3" "d\xbc"), u"Łódź"},
        DecodeCase{30, QByteArray("caf\x8e \xa5"), u"café •"},
        DecodeCase{30, QByteArray("\r\n\r"), u"\r\n\r"}));

TEST(StrictEncoding, FailsOnCharactersTheEncodingCannotHold)
{
    PLError error;
    EXPECT_FALSE(PLStringEncodings::encode(QStringLiteral("Łódź"), PLStringEncodings::ISOLatin1, &error));
    EXPECT_FALSE(error.message.isEmpty());
    EXPECT_FALSE(PLStringEncodings::encode(QString::fromUtf16(u"𝔸"), PLStringEncodings::MacOSRoman));
    EXPECT_FALSE(PLStringEncodings::decode(QByteArray("x"), 999));
    EXPECT_TRUE(PLStringEncodings::encode(QString::fromUtf16(u"𝔸"), PLStringEncodings::UTF8));
}

// The names and numbers of the list are the preferences pane's test; a stored encoding the list
// does not hold reads as UTF-8 where a file is to be decoded.
TEST(EncodingList, AnEncodingOutsideTheListReadsAsUtf8)
{
    PLTest::resetSettings();
    PLFileEncodingComboBoxDataSource source;
    PLUserDefaults::standardUserDefaults().setInteger(9, PLUserDefaultsFileEncoding);
    EXPECT_EQ(source.currentEncoding(), 9u);
    PLUserDefaults::standardUserDefaults().setInteger(10, PLUserDefaultsFileEncoding);
    EXPECT_EQ(source.currentEncodingName(), u"");
    EXPECT_EQ(source.currentEncoding(), 4u);
}

}
