#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/foundation/PLStringEncoding.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/foundation/PLThreadHandOff.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "core/project/PLFileEncodingComboBoxDataSource.h"
#include "PLTestSupport.h"

#include <QSettings>
#include <QStringList>
#include <QTest>

#include <atomic>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

using R = PLRegularExpressionHelper;
using namespace PLStringLineCalculations;

namespace {

class UserDefaults : public ::testing::Test
{
protected:
    void SetUp() override { PLTest::resetSettings(); }
    PLUserDefaults &defaults() { return PLUserDefaults::standardUserDefaults(); }
    // A second store on the same file, as the next run of the program would see it.
    std::unique_ptr<PLUserDefaults> reopened()
    {
        defaults().synchronize();
        return std::make_unique<PLUserDefaults>(defaults().fileName());
    }
};

TEST_F(UserDefaults, UserValuesWinAndSurviveARestartWhileDefaultsStayOffDisk)
{
    defaults().setInteger(5, PLUserDefaultsFileEncoding);
    defaults().setString(QStringLiteral("DejaVu Sans Mono"), PLUserDefaultsEditorFontName);
    defaults().setDouble(231.5, PLDocumentSidebarWidth);
    defaults().setBool(false, PLUserDefaultsUseBibTex);
    const QVariantMap left{{PLSplitViewSetupContentType, 0}, {PLSplitViewSetupContentPercentageWidth, 40.5}};
    const QVariantMap right{{PLSplitViewSetupContentType, 1}, {PLSplitViewSetupContentPercentageWidth, 59.5}};
    defaults().setArray({left, right}, PLUserDefaultsSplitViewSetup);
    auto next = reopened();
    EXPECT_EQ(std::tuple(next->integerForKey(PLUserDefaultsFileEncoding), next->stringForKey(PLUserDefaultsEditorFontName),
                         next->doubleForKey(PLDocumentSidebarWidth), next->boolForKey(PLUserDefaultsUseBibTex)),
              std::tuple(5, QStringLiteral("DejaVu Sans Mono"), 231.5, false));
    const auto panes = next->arrayForKey(PLUserDefaultsSplitViewSetup);
    ASSERT_EQ(panes.size(), 2);
    EXPECT_EQ(panes[1].value(PLSplitViewSetupContentType).toInt(), 1);
    EXPECT_DOUBLE_EQ(panes[0].value(PLSplitViewSetupContentPercentageWidth).toDouble(), 40.5);
    // The new store registered nothing: an unset key has no value at all, in memory or on disk.
    EXPECT_FALSE(next->objectForKey(PLUserDefaultsTexLocation).isValid());
    EXPECT_FALSE(QSettings(defaults().fileName(), QSettings::IniFormat).contains(PLUserDefaultsTexLocation));
    // Removing the user's value falls back to the registered default.
    defaults().removeObjectForKey(PLUserDefaultsFileEncoding);
    EXPECT_EQ(std::pair(defaults().integerForKey(PLUserDefaultsFileEncoding), defaults().hasUserValue(PLUserDefaultsFileEncoding)),
              std::pair(qint64(4), false));
}

TEST_F(UserDefaults, ColoursRoundTripBitForBitAndValuesOfTheWrongKindReadAsNothing)
{
    const auto components = [](const PLColor &c) {
        return std::tuple(c.redComponent(), c.greenComponent(), c.blueComponent(), c.alphaComponent(), c.space());
    };
    int n = 0;
    for (const PLColor &color : {PLColor::rgb(0.1, 0.2, 0.30000000000000004, 0.7), PLColor::rgb(1.0 / 3.0, 2.0 / 7.0, 1e-17, 0.0),
                                 PLColor::white(0.6666666666666666, 0.25)}) {
        const QString key = QStringLiteral("PLTestColor%1").arg(n++);
        defaults().setColor(color, key);
        const auto back = reopened()->colorForKey(key);
        ASSERT_TRUE(back);
        EXPECT_EQ(components(*back), components(color));
    }
    for (const char *stored : {"red", "PLColor(calibratedRGB 1 2)", "PLColor(calibratedRGB 1 nan 0 1)"}) {
        defaults().setString(QString::fromLatin1(stored), QStringLiteral("PLTestNotAColour"));
        EXPECT_FALSE(defaults().colorForKey(QStringLiteral("PLTestNotAColour"))) << stored;
    }
    EXPECT_FALSE(defaults().colorForKey(QStringLiteral("PLTestMissing")));
    // Numbers read the way the platform reads them.
    defaults().setString(QStringLiteral("12.7"), QStringLiteral("PLTestDecimal"));
    EXPECT_EQ(defaults().integerForKey(QStringLiteral("PLTestDecimal")), 12);
    EXPECT_TRUE(defaults().arrayForKey(PLUserDefaultsEditorFontName).isEmpty());
}

TEST_F(UserDefaults, AnUnwritableStoreReportsFailureWithoutLosingValuesInMemory)
{
    PLUserDefaults store(QStringLiteral("/proc/plumeo-cannot-write-here/plumeo.ini"));
    store.setInteger(7, PLUserDefaultsFileEncoding);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(store.integerForKey(PLUserDefaultsFileEncoding), 7);
}

// "𝔸" (U+1D538) takes two UTF-16 units: every index after it must count both.
TEST(RegularExpressionHelper, FirstMatchAndItsGroupsUseUtf16Indices)
{
    const QString wide = QString::fromUtf16(u"𝔸 \\section{Ä𝔸} x \\input{b}");
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("\\\\section\\{"), wide), (PLRange{3, 9}));
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("\\{[^}]*\\}"), wide), (PLRange{11, 5}));
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("nowhere"), wide), PLNotFoundRange);
    const QString pattern = QStringLiteral("\\\\(input|include)\\{(.+?)(\\.tex)?\\}");
    // A group that took no part answers not found, as does a group that does not exist.
    const std::pair<int, PLRange> groups[] = {{1, {20, 5}}, {2, {26, 1}}, {3, PLNotFoundRange}, {9, PLNotFoundRange}};
    for (const auto &[group, range] : groups)
        EXPECT_EQ(R::rangeOfCaptureGroup(pattern, wide, group), range) << group;
}

TEST(RegularExpressionHelper, SearchesStayInsideTheRange)
{
    const QString text = QStringLiteral("\t\tab\n\t\tcd");
    // Anchoring bounds by default (^ at the start of the range); transparent bounds let look-behind
    // see before it; a range outside the text finds nothing rather than reading past it.
    const std::tuple<const char *, PLRange, int, int, PLRange> cases[] = {
        {"(\\t)*", {5, 4}, R::NoOptions, 0, {5, 2}}, {"c", {0, 7}, R::NoOptions, 0, PLNotFoundRange},
        {"^b", {3, 3}, R::NoOptions, 0, {3, 1}}, {"^b", {3, 3}, R::WithoutAnchoringBounds, 0, PLNotFoundRange},
        {"(?<=a)b", {3, 3}, R::WithTransparentBounds, 0, {3, 1}}, {"(c)d", {0, 9}, R::NoOptions, 1, {7, 1}},
        {"b", {0, 9}, R::Anchored, 0, PLNotFoundRange}, {"ab", {2, 3}, R::Anchored, 0, {2, 2}},
        {"a", {8, 5}, R::NoOptions, 0, PLNotFoundRange}};
    for (const auto &[pattern, range, options, group, found] : cases)
        EXPECT_EQ(R::firstMatchInRange(QString::fromLatin1(pattern), text, range, options, group), found) << pattern;
}

TEST(RegularExpressionHelper, EnumeratesEveryMatchAndStopsOnRequest)
{
    const QString text = QStringLiteral("$a$ and $b$ and $c$");
    const auto matches = R::allMatches(QStringLiteral("\\$[^$]*\\$"), text);
    ASSERT_EQ(matches.size(), 3);
    EXPECT_EQ(matches[2].range(), (PLRange{16, 3}));
    // A nested search with the same pattern keeps the outer one's place.
    int seen = 0;
    R::enumerateMatches(QStringLiteral("\\$"), text, PLRange{0, text.size()}, [&](const PLRegexMatch &) {
        EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("\\$"), QStringLiteral("zz $")), (PLRange{3, 1}));
        return ++seen < 2;
    });
    EXPECT_EQ(seen, 2);
    // Empty matches advance instead of looping for ever.
    EXPECT_EQ(R::allMatches(QStringLiteral("x*"), QStringLiteral("ab")).size(), 3);
}

// An invalid pattern never matches. A pattern that backtracks exponentially once stalled typing for
// minutes; now it gives up and reads as no match. The allowance grows with the text: a plain scan
// of a long text is never cut short.
TEST(RegularExpressionHelper, InvalidAndRunawayPatternsReadAsNoMatchButALongTextKeepsItsAllowance)
{
    EXPECT_FALSE(R::isValidPattern(QStringLiteral("(unclosed")));
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("(unclosed"), QStringLiteral("(unclosed")), PLNotFoundRange);
    EXPECT_TRUE(R::allMatches(QStringLiteral("[z-a]"), QStringLiteral("abc")).isEmpty());
    EXPECT_TRUE(R::isValidPattern(QStringLiteral("%!TEX TS-program( )*=( )*xelatex( )*\\n")));
    const QString runaway = QStringLiteral("(.)+ = \\{(.|\\s|\\\\n)+\\}");
    const QString line = QStringLiteral("  abstract = {") + QStringLiteral("word ").repeated(40) + u'\n';
    EXPECT_EQ(R::rangeOfFirstMatch(runaway, line), PLNotFoundRange);
    EXPECT_EQ(R::firstMatchInRange(runaway, line, PLRange{0, line.size()}, R::Anchored, 0), PLNotFoundRange);
    EXPECT_EQ(R::rangeOfFirstMatch(runaway, QStringLiteral("  title = {A},\n")), (PLRange{0, 13}));
    const QString text = QString(3'000'000, u'a') + QStringLiteral("bc");
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("(?:a|b)c"), text), (PLRange{3'000'000, 2}));
}

TEST(RegularExpressionHelper, TwoThreadsSearchAtOnce)
{
    QString text;
    for (int i = 0; i < 2000; ++i)
        text += QStringLiteral("line %1 \\section{S%1}\n").arg(i);
    auto count = [&] {
        int n = 0;
        for (int round = 0; round < 20; ++round)
            n += int(R::allMatches(QStringLiteral("\\\\section\\{S\\d+\\}"), text).size());
        return n;
    };
    int a = 0;
    std::thread other([&] { a = count(); });
    const int b = count();
    other.join();
    EXPECT_EQ(std::pair(a, b), std::pair(40000, 40000));
}

struct Sender
{
    int id;
};

// Observers are called in registration order, by name (none: every name) and sender, with the user
// info and the typed sender; removal is by observer, or by name and sender.
TEST(NotificationCenter, DeliversInOrderByNameAndSenderUntilRemoved)
{
    PLNotificationCenter center;
    Sender one{1}, two{2};
    QStringList calls;
    int a = 0, b = 0, c = 0;
    center.addObserver(&a, QStringLiteral("N"), nullptr, [&](const PLNotification &n) {
        calls << QStringLiteral("a:") + n.userInfo().value(QStringLiteral("k")).toString();
    });
    center.addObserver(&b, QString(), nullptr, [&](const PLNotification &n) { calls << QStringLiteral("b:") + n.name(); });
    center.addObserver(&c, QStringLiteral("N"), &one, [&](const PLNotification &n) {
        ASSERT_NE(n.objectAs<Sender>(), nullptr);
        EXPECT_EQ(n.objectAs<int>(), nullptr);
        calls << QStringLiteral("c:%1").arg(n.objectAs<Sender>()->id);
    });
    center.addObserver(&c, QStringLiteral("Other"), nullptr, [&](const PLNotification &) { calls << QStringLiteral("c-other"); });
    center.post<Sender>(QStringLiteral("N"), &two, {{QStringLiteral("k"), QStringLiteral("v")}});
    center.post(QStringLiteral("N"), &one);
    center.removeObserver(&c, QStringLiteral("N"), &one);
    center.removeObserver(&a);
    center.post(QStringLiteral("N"), &one);
    center.post(QStringLiteral("Other"));
    EXPECT_EQ(calls.join(u' '), QStringLiteral("a:v b:N a: b:N c:1 b:N b:Other c-other"));
    EXPECT_EQ(center.observerCount(), 2);
}

// A poster that skips unobserved notifications must skip exactly those a post would deliver to nobody.
TEST(NotificationCenter, IsObservedExactlyWhenAPostReachesSomeone)
{
    Sender one{1}, two{2};
    using Registrations = std::vector<std::pair<QString, const Sender *>>;
    const QString n = QStringLiteral("N"), other = QStringLiteral("Other");
    const Registrations cases[] = {{},
                                   {{n, nullptr}},
                                   {{n, &one}},
                                   {{QString(), &two}},
                                   {{QString(), nullptr}},
                                   {{other, &one}, {n, &two}}};
    for (const Registrations &registrations : cases) {
        PLNotificationCenter center;
        int observer = 0;
        bool delivered = false;
        for (const auto &[name, sender] : registrations)
            center.addObserver(&observer, name, sender, [&](const PLNotification &) { delivered = true; });
        for (const QString &name : {n, other}) {
            for (const Sender *sender : std::initializer_list<const Sender *>{&one, &two, nullptr}) {
                delivered = false;
                center.post(name, sender);
                EXPECT_EQ(center.isObserved(name, sender), delivered) << qPrintable(name) << (sender ? sender->id : 0);
            }
        }
    }
}

// During a delivery, a removed observer is not called afterwards, a new one waits for the next
// post, and a nested post is delivered at once.
TEST(NotificationCenter, ChangesAndPostsMadeDuringADeliveryAreSafe)
{
    PLNotificationCenter center;
    int first = 0, second = 0, third = 0;
    QStringList calls;
    const auto log = [&](const char *text) { return [&calls, text](const PLNotification &) { calls << QString::fromLatin1(text); }; };
    center.addObserver(&first, QStringLiteral("N"), nullptr, [&](const PLNotification &) {
        calls << QStringLiteral("first");
        center.removeObserver(&second);
        center.addObserver(&third, QStringLiteral("N"), nullptr, log("third"));
        center.post(QStringLiteral("Inner"));
        calls << QStringLiteral("first-end");
    });
    center.addObserver(&second, QStringLiteral("N"), nullptr, log("second"));
    center.addObserver(&second, QStringLiteral("Inner"), nullptr, log("inner"));
    center.addObserver(&first, QStringLiteral("Inner"), nullptr, log("inner"));
    center.post(QStringLiteral("N"));
    EXPECT_EQ(calls.join(u' '), QStringLiteral("first inner first-end"));
}

TEST(NotificationCenter, PostingFromAnotherThreadWhileTheRegistryChangesIsSafe)
{
    PLNotificationCenter center;
    std::atomic<int> delivered{0};
    std::atomic<bool> stop{false};
    int anchor = 0;
    center.addObserver(&anchor, QStringLiteral("N"), nullptr, [&](const PLNotification &) { ++delivered; });
    std::thread poster([&] {
        while (!stop)
            center.post(QStringLiteral("N"));
    });
    for (int i = 0; i < 2000; ++i) {
        int transient = 0;
        center.addObserver(&transient, QStringLiteral("N"), nullptr, [](const PLNotification &) {});
        center.removeObserver(&transient);
    }
    // On a busy machine the poster may not have run yet: let it deliver at least once.
    while (delivered.load() == 0)
        std::this_thread::yield();
    stop = true;
    poster.join();
    EXPECT_EQ(center.observerCount(), 1);
}

// Records on which thread the last holder let go of it.
struct DiesOnMainThread
{
    std::atomic<int> *deathsOffMain;
    ~DiesOnMainThread()
    {
        if (!PLThreadHandOff::isMainThread())
            ++*deathsOffMain;
    }
};

TEST(ThreadHandOff, WorkRunsOffTheMainThreadAndItsCallsComeBackInOrderToDieThere)
{
    constexpr int kWorks = 8;
    std::atomic<int> worksOnMain{0};
    std::atomic<int> deathsOffMain{0};
    // Written before the hand-over and only read after it, by the worker and then by the calls.
    QList<int> inputs;
    for (int work = 0; work < kWorks; ++work)
        inputs.append(work * 10);
    QList<int> arrived;
    for (int work = 0; work < kWorks; ++work) {
        PLThreadHandOff::runOnWorker([&, work] {
            if (PLThreadHandOff::isMainThread())
                ++worksOnMain;
            auto holder = std::make_shared<DiesOnMainThread>(&deathsOffMain);
            const int value = inputs.at(work);
            PLThreadHandOff::runOnMainThread([&arrived, holder, value] { arrived.append(value); });
            PLThreadHandOff::runOnMainThread([&arrived, holder = std::move(holder), value] { arrived.append(value + 1); });
        });
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return arrived.size() == 2 * kWorks; }));
    EXPECT_EQ(worksOnMain, 0);
    EXPECT_EQ(deathsOffMain, 0);
    for (int work = 0; work < kWorks; ++work)
        EXPECT_GT(arrived.indexOf(work * 10 + 1), arrived.indexOf(work * 10)) << work;
}

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

// The line of a location, -1 past the end; CR LF is one terminator, so its LF still belongs to the
// first line.
TEST(LineNumberOfLocation, AnswersTheLineOrMinusOnePastTheEnd)
{
    for (const auto &[text, location, line] :
         {std::tuple<const char16_t *, qsizetype, int>{u"", 0, 1}, {u"", 1, -1}, {u"a\nb", 1, 1}, {u"a\nb", 2, 2}, {u"a\nb", 3, 2},
          {u"a\nb", 4, -1}, {u"a\r", 2, 2}, {u"a\r\nb", 2, 1}, {u"a\r\nb", 3, 2}, {u"\r\n\r\n", 4, 3}, {u"\n\r", 2, 3},
          {u"a\u0085b", 2, 2}, {u"a\u2029b\u2029c", 4, 3}})
        EXPECT_EQ(lineNumberOfLocation(QString::fromUtf16(text), location), line)
            << QString::fromUtf16(text).toStdString() << " at " << location;
}

// The first character of a line: lines before the first are the first, lines past the last the end.
TEST(LocationOfLineStart, AnswersTheFirstCharacterOfTheLine)
{
    for (const auto &[text, line, location] :
         {std::tuple<const char16_t *, int, int>{u"a\nb", -3, 0}, {u"a\nb", 1, 0}, {u"a\nb", 2, 2}, {u"a\nb", 10, 3}, {u"a\r\nb", 2, 3},
          {u"a\u2028b", 2, 2}, {u"a\n", 3, 2}, {u"", 5, 0}, {u"\r\n\r\nx", 3, 4}})
        EXPECT_EQ(locationOfLineStart(QString::fromUtf16(text), line), location)
            << QString::fromUtf16(text).toStdString() << " line " << line;
}

// Line starts and line numbers agree on every line of a text with every kind of line end; a range
// reaches from the start of its first character's line through the whole terminator of its last.
TEST(LineArithmetic, StartsLinesAndRangesAgree)
{
    const QString text = QStringLiteral("one\rtwo\r\nthree\nfour") + QChar(0x2028) + QStringLiteral("five")
        + QChar(0x2029) + QStringLiteral("six") + QChar(0x85) + QStringLiteral("seven");
    for (int line = 1; line <= 7; ++line) {
        const int start = locationOfLineStart(text, line);
        EXPECT_EQ(lineNumberOfLocation(text, start), line);
        EXPECT_EQ(locationOfLineStartInRange(text, PLRange{start, 0}), start);
        if (start > 0) {
            EXPECT_EQ(lineNumberOfLocation(text, start - 1), line - 1);
        }
    }
    const QString crlf = QStringLiteral("ab\r\ncd\nef");
    // The range; the start of its first line; the lines it covers, terminators and all.
    for (const auto &[range, lineStart, lines] : {std::tuple{PLRange{5, 3}, 4, PLRange{4, 5}}, {PLRange{3, 0}, 0, PLRange{0, 4}},
                                                  {PLRange{9, 0}, 7, PLRange{7, 2}}, {PLRange{0, 1}, 0, PLRange{0, 4}},
                                                  {PLRange{1, 3}, 0, PLRange{0, 4}}, {PLRange{2, 3}, 0, PLRange{0, 7}}})
        EXPECT_EQ(std::tuple(locationOfLineStartInRange(crlf, range), lineRangeForRange(crlf, range)), std::tuple(lineStart, lines));
    const auto bounds = lineBoundsForRange(crlf, PLRange{1, 0});
    EXPECT_EQ(std::tuple(bounds.contentsEnd, bounds.end), std::tuple(2, 4));
}

}
