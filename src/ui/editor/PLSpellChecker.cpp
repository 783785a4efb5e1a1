#include "PLSpellChecker.h"

#include "PLLogging.h"

#include <QFileInfo>
#include <QtConcurrent/QtConcurrentRun>

#include <hunspell/hunspell.hxx>

namespace {
// Remembered answers are dropped past this many words, which a long session can reach.
constexpr qsizetype PLSpellCheckerMaximumAnswers = 100000;

bool isWordCharacter(QChar c)
{
    return c.isLetter() || c.isMark();
}

bool isApostrophe(QChar c)
{
    return c == u'\'' || c == u'\u2019';
}

bool isNameCharacter(QChar c)
{
    return c.isDigit() || c == u'_';
}
}

PLSpellChecker &PLSpellChecker::sharedSpellChecker()
{
    static PLSpellChecker *checker = [] {
        auto *created = new PLSpellChecker;
        created->startLoading();
        return created;
    }();
    return *checker;
}

PLSpellChecker::PLSpellChecker()
{
    connect(&m_loader, &QFutureWatcher<Hunspell *>::finished, this, &PLSpellChecker::adoptLoadedDictionary);
}

PLSpellChecker::~PLSpellChecker()
{
    m_loader.waitForFinished();
}

QString PLSpellChecker::affixPath()
{
    return QStringLiteral("/usr/share/hunspell/en_US.aff");
}

QString PLSpellChecker::dictionaryPath()
{
    return QStringLiteral("/usr/share/hunspell/en_US.dic");
}

void PLSpellChecker::startLoading()
{
    const QByteArray affix = QFile::encodeName(affixPath());
    const QByteArray dictionary = QFile::encodeName(dictionaryPath());
    if (!QFileInfo::exists(affixPath()) || !QFileInfo::exists(dictionaryPath())) {
        qCWarning(lcUi).noquote() << QStringLiteral("no English dictionary at %1: spelling is not checked").arg(dictionaryPath());
        return;
    }
    m_loader.setFuture(QtConcurrent::run([affix, dictionary] { return new Hunspell(affix.constData(), dictionary.constData()); }));
}

void PLSpellChecker::waitUntilReady()
{
    if (m_hunspell || !m_loader.future().isValid())
        return;
    m_loader.waitForFinished();
    adoptLoadedDictionary();
}

void PLSpellChecker::adoptLoadedDictionary()
{
    if (m_hunspell)
        return;
    m_hunspell.reset(m_loader.result());
    m_answers.clear();
    ++m_generation;
    emit dictionaryDidLoad();
}

QList<PLRange> PLSpellChecker::wordRanges(QStringView text)
{
    QList<PLRange> words;
    const qsizetype length = text.size();
    qsizetype p = 0;
    while (p < length) {
        if (!isWordCharacter(text[p])) {
            ++p;
            continue;
        }
        const qsizetype start = p;
        while (p < length && (isWordCharacter(text[p]) || (isApostrophe(text[p]) && p + 1 < length && isWordCharacter(text[p + 1]))))
            ++p;
        const bool name = (start > 0 && isNameCharacter(text[start - 1])) || (p < length && isNameCharacter(text[p]));
        if (!name)
            words.append(PLRange{start, p - start});
    }
    return words;
}

bool PLSpellChecker::isCorrectlySpelled(QStringView word)
{
    if (!m_hunspell)
        return true;
    const QString key = word.toString();
    const auto known = m_answers.constFind(key);
    if (known != m_answers.constEnd())
        return *known;
    if (m_answers.size() >= PLSpellCheckerMaximumAnswers)
        m_answers.clear();
    // The installed dictionary is written in UTF-8.
    const bool correct = m_hunspell->spell(key.toStdString());
    m_answers.insert(key, correct);
    return correct;
}

QList<PLRange> PLSpellChecker::misspelledWordRanges(QStringView text)
{
    QList<PLRange> misspelled;
    if (!m_hunspell)
        return misspelled;
    for (const PLRange &word : wordRanges(text)) {
        if (!isCorrectlySpelled(text.mid(word.location, word.length)))
            misspelled.append(word);
    }
    return misspelled;
}
