#pragma once

#include "core/foundation/PLRange.h"

#include <QFutureWatcher>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>

class Hunspell;

// The English dictionary shared by every editor. It loads on a worker thread the first time it is
// asked for, so opening a window never waits for it; until it is ready no word is misspelt, and
// dictionaryDidLoad tells the editors to look again. Checks run on the main thread and remember
// their answers, since a text repeats its words.
class PLSpellChecker : public QObject
{
    Q_OBJECT

public:
    static PLSpellChecker &sharedSpellChecker();
    ~PLSpellChecker() override;

    static QString affixPath();
    static QString dictionaryPath();

    bool isReady() const { return m_hunspell != nullptr; }
    // Blocks until the dictionary is loaded; for programs that check text at once.
    void waitUntilReady();
    // Changes whenever answers may change, so callers can tell stale results.
    int generation() const { return m_generation; }

    // The words of a text: runs of letters (of any plane) with apostrophes inside them, within the
    // words Unicode finds; a word that holds a digit or an underscore is a name, not a word.
    static QList<PLRange> wordRanges(QStringView text);
    // The stretches of LaTeX source that are not prose, in order: mathematics, and the arguments
    // of commands that name packages, classes, files, labels, citations, environments or URLs.
    // Comments are prose; a command name is left to the caller.
    static QList<PLRange> nonProseRanges(QStringView text);
    // The misspelt words of a text, relative to it; nothing while the dictionary loads.
    QList<PLRange> misspelledWordRanges(QStringView text);
    bool isCorrectlySpelled(QStringView word);

signals:
    void dictionaryDidLoad();

private:
    PLSpellChecker();
    void startLoading();
    void adoptLoadedDictionary();

    std::unique_ptr<Hunspell> m_hunspell;
    QFutureWatcher<Hunspell *> m_loader;
    QHash<QString, bool> m_answers;
    int m_generation = 0;
};
