#include "core/editor/PLTextSearch.h"

#include <gtest/gtest.h>

namespace {

using PLTextSearch::Backwards;
using PLTextSearch::Forwards;

TEST(TextSearch, FindsTheExpectedRange)
{
    // The three alphas start at 0, 11 and 23.
    const char *const alphas = "Alpha beta ALPHA gamma alpha";
    // The text, the string, the selection, the direction and the range found.
    const std::tuple<const char *, const char *, PLRange, qint32, PLRange> cases[] = {
        // Forwards from the selection's end or the caret, a match may start right there, and wraps.
        {alphas, "alpha", {0, 5}, Forwards, {11, 5}}, {alphas, "ALPHA", {12, 0}, Forwards, {23, 5}},
        {alphas, "beta", {0, 6}, Forwards, {6, 4}}, {alphas, "aLpHa", {24, 0}, Forwards, {0, 5}},
        // Backwards the last before the selection, not one overlapping its start, and wraps.
        {alphas, "alpha", {23, 5}, Backwards, {11, 5}}, {alphas, "alpha", {14, 0}, Backwards, {0, 5}},
        {alphas, "alpha", {3, 0}, Backwards, {23, 5}},
        // Inside the only occurrence, it is found again either way.
        {"one Word here", "word", {6, 0}, Backwards, {4, 4}}, {"one Word here", "WORD", {6, 0}, Forwards, {4, 4}},
        {"axb a.b", ".", {0, 0}, Forwards, {5, 1}}, {alphas, "delta", {3, 0}, Forwards, PLNotFoundRange},
        {alphas, "", {3, 0}, Backwards, PLNotFoundRange}, {"abc", "b", {10, 0}, Forwards, {1, 1}}};
    for (const auto &[text, string, selection, direction, expected] : cases)
        EXPECT_EQ(PLTextSearch::rangeOfString(QString::fromUtf8(text), QString::fromUtf8(string), selection, direction), expected)
            << text << " / " << string << " from " << selection.location;
}

}
