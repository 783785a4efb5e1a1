#pragma once

#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

// Generated LaTeX projects for the project-model benchmarks.
namespace PLProjectModelBench {

// Settings in a folder of their own, so a benchmark never reads or writes the user's.
inline void useTemporarySettings(const QTemporaryDir &folder)
{
    PLUserDefaults::resetStandardUserDefaults(QDir(folder.path()).filePath(QStringLiteral("bench.ini")));
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
}

inline void writeText(const QString &path, const QString &text)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    file.write(text.toUtf8());
}

// A paragraph of about 80 characters per line with the things real text holds: mathematics,
// commands, an escaped percent sign and now and then a comment.
inline QString paragraphLines(int lines, int seed)
{
    QString text;
    for (int i = 0; i < lines; ++i) {
        const int n = seed * 31 + i;
        switch (n % 5) {
        case 0:
            text += QStringLiteral("Some words about the result %1, with $x_{%1} + y^2$ and \\emph{emphasis} here.\n").arg(n);
            break;
        case 1:
            text += QStringLiteral("About 50\\% of the cases are covered by \\cite{key%1}; the rest follow below.\n").arg(n % 97);
            break;
        case 2:
            text += QStringLiteral("A line that goes on in plain words, long enough to look like prose % remark %1\n").arg(n);
            break;
        case 3:
            text += QStringLiteral("\\begin{equation} a_{%1} = \\sum_{k=0}^{n} \\frac{k}{%1+1} \\end{equation}\n").arg(n);
            break;
        default:
            text += QStringLiteral("\n");
            break;
        }
    }
    return text;
}

// A file of about the given number of lines: a section every 40 lines, subsections between,
// paragraph headings now and then and includes of the given names.
inline QString structuredText(int lineCount, const QStringList &includes = {}, int seed = 0)
{
    QString text;
    int lines = 0;
    int section = 0;
    qsizetype nextInclude = 0;
    while (lines < lineCount) {
        text += QStringLiteral("\\section{Section %1 of part %2}\n").arg(section).arg(seed);
        text += paragraphLines(12, seed + section);
        text += QStringLiteral("\\subsection{Details of %1}\n").arg(section);
        text += paragraphLines(12, seed + section + 1);
        if (nextInclude < includes.size())
            text += QStringLiteral("\\input{%1}\n").arg(includes[nextInclude++]);
        text += QStringLiteral("\\paragraph{Remark}\n");
        text += paragraphLines(12, seed + section + 2);
        lines += 40;
        ++section;
    }
    return text;
}

// Twenty small included files, part0.tex to part19.tex, in the folder; answers their names for
// \input commands.
inline QStringList writeTwentyParts(const QTemporaryDir &folder)
{
    QStringList includes;
    for (int i = 0; i < 20; ++i) {
        includes.append(QStringLiteral("part%1").arg(i));
        writeText(QDir(folder.path()).filePath(includes.last() + QStringLiteral(".tex")), structuredText(40, {}, i));
    }
    return includes;
}

}
