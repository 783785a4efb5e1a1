#pragma once

#include <QString>

// A LaTeX-like text of about the given size in UTF-16 units: paragraphs, headings, mathematics,
// comments and includes, so the expressions meet what real files hold.
inline QString PLBenchLatexText(qsizetype approximateSize)
{
    QString text;
    text.reserve(approximateSize + 512);
    int n = 0;
    while (text.size() < approximateSize) {
        text += QStringLiteral("\\section{Section %1 about \\emph{things}}\n").arg(n);
        text += QStringLiteral("Some text with $x^%1 + y$ in it, 50\\% of it % a comment\n").arg(n);
        text += QStringLiteral("\\begin{itemize}\n\t\\item one [option] (round) {brace}\n\\end{itemize}\n");
        text += QStringLiteral("\\input{chapters/part%1}\nPlain words go on and on, then end.\n\n").arg(n);
        ++n;
    }
    return text;
}
