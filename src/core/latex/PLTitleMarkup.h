#pragma once

#include <QString>

// Markup in heading titles that has nothing to show in a list of titles: labels, index entries and
// footnotes, font switches, plain groups and math delimiters, and the TeX half of \texorpdfstring,
// whose second argument is the plain text meant for exactly such lists.
class PLTitleMarkup
{
public:
    // The title with that markup taken out, "\\" and "~" read as spaces, and each run of white space
    // made one space; any other command stays for the display name to simplify.
    static QString withoutHiddenMarkup(const QString &title);
};
