#include "core/editor/PLTextSearch.h"

#include <gtest/gtest.h>

namespace {

struct SearchCase
{
    const char *name;
    const char *text;
    const char *string;
    PLRange selection;
    qint32 direction;
    PLRange expected;
};

class TextSearch : public ::testing::TestWithParam<SearchCase>
{
};

TEST_P(TextSearch, FindsTheExpectedRange)
{
    const SearchCase &c = GetParam();
    EXPECT_EQ(PLTextSearch::rangeOfString(QString::fromUtf8(c.text), QString::fromUtf8(c.string), c.selection, c.direction), c.expected);
}

using PLTextSearch::Backwards;
using PLTextSearch::Forwards;

// "Alpha beta ALPHA gamma alpha": the three alphas start at 0, 11 and 23.
const char *const alphas = "Alpha beta ALPHA gamma alpha";

INSTANTIATE_TEST_SUITE_P(
    Cases, TextSearch,
    ::testing::Values(
        SearchCase{"ForwardsFromTheSelectionsEnd", alphas, "alpha", {0, 5}, Forwards, {11, 5}},
        SearchCase{"ForwardsFromTheCaret", alphas, "ALPHA", {12, 0}, Forwards, {23, 5}},
        SearchCase{"ForwardsWrapsToTheFirstInTheFile", alphas, "aLpHa", {24, 0}, Forwards, {0, 5}},
        SearchCase{"ForwardsMatchStartingAtTheSelectionsEnd", alphas, "beta", {0, 6}, Forwards, {6, 4}},
        SearchCase{"BackwardsFindsTheLastBeforeTheSelection", alphas, "alpha", {23, 5}, Backwards, {11, 5}},
        SearchCase{"BackwardsIgnoresAHitOverlappingTheSelectionsStart", alphas, "alpha", {14, 0}, Backwards, {0, 5}},
        SearchCase{"BackwardsWrapsToTheLastInTheFile", alphas, "alpha", {3, 0}, Backwards, {23, 5}},
        SearchCase{"BackwardsInsideTheOnlyOccurrenceFindsItAgain", "one Word here", "word", {6, 0}, Backwards, {4, 4}},
        SearchCase{"ForwardsInsideTheOnlyOccurrenceFindsItAgain", "one Word here", "WORD", {6, 0}, Forwards, {4, 4}},
        SearchCase{"LiteralNotAPattern", "a.b axb", "x", {0, 0}, Forwards, {5, 1}},
        SearchCase{"DotIsLiteral", "axb a.b", ".", {0, 0}, Forwards, {5, 1}},
        SearchCase{"NoMatch", alphas, "delta", {3, 0}, Forwards, PLNotFoundRange},
        SearchCase{"EmptyStringNeverMatches", alphas, "", {3, 0}, Backwards, PLNotFoundRange},
        SearchCase{"SelectionBeyondTheTextStillWraps", "abc", "b", {10, 0}, Forwards, {1, 1}}),
    [](const ::testing::TestParamInfo<SearchCase> &info) { return std::string(info.param.name); });

}
