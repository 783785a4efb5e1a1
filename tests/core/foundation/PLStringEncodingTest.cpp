#include "core/project/PLFileEncodingComboBoxDataSource.h"
#include "core/foundation/PLStringEncoding.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <gtest/gtest.h>

namespace {

// Valid input decodes and writes back to the same bytes; invalid input fails with a message.
TEST(StrictDecoding, DecodesValidInputAndFailsOnInvalidInput)
{
    // The encoding, the bytes, and the text (null: decoding must fail).
    const std::tuple<PLStringEncoding, QByteArray, const char16_t *> cases[] = {
        {4, "Gr\xc3\xbc\xc3\x9f \xf0\x9d\x94\xb8", u"Grüß 𝔸"},
        // Latin-1 bytes, a truncated sequence, an encoded surrogate, an overlong form, past U+10FFFF.
        {4, "Gr\xfc\xdf", nullptr}, {4, "\xc3", nullptr}, {4, "\xed\xa0\x80", nullptr}, {4, "\xc0\xaf", nullptr},
        {4, "\xf4\x90\x80\x80", nullptr},
        // A byte order mark stays.
        {4, "\xef\xbb\xbf" "AB", u"\ufeffAB"}, {4, QByteArray(), u""}, {5, "Gr\xfc\xdf \xa9", u"Grüß ©"},
        {9, "\xa3\xf3" "d\xbc", u"Łódź"}, {30, "caf\x8e \xa5", u"café •"}, {30, "\r\n\r", u"\r\n\r"}};
    for (const auto &[encoding, bytes, expected] : cases) {
        SCOPED_TRACE(testing::Message() << encoding << " " << bytes.toHex().toStdString());
        PLError error;
        const auto text = PLStringEncodings::decode(bytes, encoding, &error);
        if (!expected) {
            EXPECT_FALSE(text);
            EXPECT_FALSE(error.message.isEmpty());
            continue;
        }
        ASSERT_TRUE(text) << error.message.toStdString();
        EXPECT_EQ(*text, QStringView(expected).toString()); // fromUtf16 would drop a byte order mark
        EXPECT_EQ(PLStringEncodings::encode(*text, encoding), bytes);
    }
}

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
