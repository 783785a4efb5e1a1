#pragma once

#include <QString>

// The words shown for a finished typesetting job: the engine's name and the count of errors and
// warnings found.
namespace PLTypesettingSummary {

// 2 "xelatex", 1 "pdflatex", 0 the program of the setting "PLUserDefaultsTypesettingEngine",
// anything else "".
QString latexEngineAsString(int engine);

// "" for 0, else the count and the word, with "s" from 2 on: "1 error", "3 warnings".
QString makeCountLabel(const QString &type, qsizetype count);

// "1 error found", "2 errors and 1 warning found", "3 warnings found"; "" when there is nothing.
QString summaryText(qsizetype errorCount, qsizetype warningCount);

// The alert for an engine that is not where the settings say: "Could not locate pdflatex with
// path: /usr/texbin/pdflatex", and its informative text.
QString couldNotLocateEngineMessage(int engine, const QString &launchPath);
QString couldNotLocateEngineInformativeText();

}
