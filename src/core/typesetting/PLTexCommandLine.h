#pragma once

#include <QString>
#include <QStringList>

// The command lines of a typesetting job, shared by both drivers.
namespace PLTexCommandLine {

// The folder of the TeX programs from a setting value: a separator is appended unless the
// second-to-last character is one ("/usr/texbin" gives "/usr/texbin/", "/usr/texbin/" gives
// "/usr/texbin//", which names the same folder); values shorter than two characters stay as they are.
QString texFolder(const QString &setting);
// The same for the setting "PLUserDefaultsTexLocation", read now.
QString texFolder();

// "xelatex" for a file that asks for it, else the program of the setting
// "PLUserDefaultsTypesettingEngine", read now.
QString engineProgram(int engine);

// The six engine arguments; the engine finds the ".tex" file from the base name itself. With shell
// escape off, "--no-shell-escape" takes the place of "--shell-escape", so that the engine runs no
// other program at all.
QStringList engineArguments(const QString &baseName, bool shellEscape);
QStringList bibtexArguments(const QString &baseName);

// The base name as the programs must be given it: a name they would read as an option ("-ini")
// or as a format ("&pdflatex") is given from the current folder ("./-ini"); any other name is
// given as it is.
QString programFileName(const QString &baseName);

}
