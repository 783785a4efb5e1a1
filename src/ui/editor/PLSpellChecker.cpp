#include "ui/editor/PLSpellChecker.h"

#include "core/foundation/PLLogging.h"

#include <QFileInfo>
#include <QTextBoundaryFinder>
#include <QtConcurrent/QtConcurrentRun>

#include <hunspell/hunspell.hxx>

namespace {
// Remembered answers are dropped past this many words, which a long session can reach.
constexpr qsizetype PLSpellCheckerMaximumAnswers = 100000;

// The code point at the index (a whole surrogate pair where one starts) and its length.
char32_t codePointAt(QStringView text, qsizetype index, qsizetype *length)
{
    const QChar c = text[index];
    if (c.isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate()) {
        *length = 2;
        return QChar::surrogateToUcs4(c, text[index + 1]);
    }
    *length = 1;
    return c.unicode();
}

bool isWordCharacter(char32_t c)
{
    return QChar::isLetter(c) || QChar::isMark(c);
}

bool isApostrophe(char32_t c)
{
    return c == u'\'' || c == u'\u2019';
}

bool isNameCharacter(char32_t c)
{
    return QChar::isDigit(c) || c == u'_';
}

bool isMathEnvironment(QStringView name)
{
    static const QStringList names{
        QStringLiteral("equation"), QStringLiteral("align"),   QStringLiteral("gather"),      QStringLiteral("multline"),
        QStringLiteral("flalign"),  QStringLiteral("alignat"), QStringLiteral("eqnarray"),    QStringLiteral("displaymath"),
        QStringLiteral("math"),     QStringLiteral("dmath"),   QStringLiteral("subequations")};
    if (name.endsWith(u'*'))
        name.chop(1);
    return names.contains(name);
}

// How many brace groups after the command are not prose: -1 for every group that follows it.
int nonProseArgumentCount(QStringView name)
{
    static const QStringList names{
        QStringLiteral("usepackage"),   QStringLiteral("RequirePackage"),    QStringLiteral("documentclass"),
        QStringLiteral("label"),        QStringLiteral("input"),             QStringLiteral("include"),
        QStringLiteral("includeonly"),  QStringLiteral("bibliography"),      QStringLiteral("bibliographystyle"),
        QStringLiteral("addbibresource"), QStringLiteral("includegraphics"), QStringLiteral("graphicspath"),
        QStringLiteral("url"),          QStringLiteral("begin"),             QStringLiteral("end")};
    // A link's first argument is its address; its second is the text shown.
    if (name == u"href")
        return 1;
    // \cite and \ref with their kin: \citep, \parencite, \eqref, \pageref, \cref and so on.
    if (names.contains(name) || name.contains(u"cite", Qt::CaseInsensitive) || name.endsWith(u"ref", Qt::CaseInsensitive))
        return -1;
    return 0;
}

// The end of the group opened at the index, nested groups and escaped characters included; the
// end of the text when it is not closed.
qsizetype groupEnd(QStringView text, qsizetype open)
{
    const QChar opening = text[open];
    const QChar closing = opening == u'[' ? u']' : u'}';
    int depth = 0;
    for (qsizetype i = open; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'\\') {
            ++i;
        } else if (c == u'{' || (opening == u'[' && c == u'[')) {
            ++depth;
        } else if (c == u'}' || (opening == u'[' && c == u']')) {
            if (--depth == 0 && c == closing)
                return i + 1;
            if (depth < 0)
                return i;
        }
    }
    return text.size();
}

// The end of mathematics that began before the index and closes with the delimiter.
qsizetype mathEnd(QStringView text, qsizetype from, QStringView delimiter)
{
    for (qsizetype i = from; i < text.size(); ++i) {
        if (text.mid(i).startsWith(delimiter))
            return i + delimiter.size();
        if (text[i] == u'\\')
            ++i;
    }
    return text.size();
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
    QTextBoundaryFinder finder(QTextBoundaryFinder::Word, text.data(), text.size());
    qsizetype start = 0;
    for (qsizetype end = finder.toNextBoundary(); end >= 0; start = end, end = finder.toNextBoundary()) {
        bool name = false;
        qsizetype length = 0;
        for (qsizetype p = start; p < end && !name; p += length)
            name = isNameCharacter(codePointAt(text, p, &length));
        if (name)
            continue;
        // Unicode keeps "e.g" together; the spelling takes its letters one run at a time.
        qsizetype p = start;
        while (p < end) {
            if (!isWordCharacter(codePointAt(text, p, &length))) {
                p += length;
                continue;
            }
            const qsizetype wordStart = p;
            while (p < end) {
                const char32_t c = codePointAt(text, p, &length);
                qsizetype nextLength = 0;
                if (isWordCharacter(c))
                    p += length;
                else if (isApostrophe(c) && p + length < end && isWordCharacter(codePointAt(text, p + length, &nextLength)))
                    p += length;
                else
                    break;
            }
            words.append(PLRange{wordStart, p - wordStart});
        }
    }
    return words;
}

QList<PLRange> PLSpellChecker::nonProseRanges(QStringView text)
{
    QList<PLRange> ranges;
    const auto add = [&ranges](qsizetype start, qsizetype end) {
        if (end > start)
            ranges.append(PLRange{start, end - start});
    };
    const qsizetype length = text.size();
    qsizetype i = 0;
    while (i < length) {
        const QChar c = text[i];
        if (c == u'%') {
            while (i < length && text[i] != u'\n' && text[i] != u'\r')
                ++i;
        } else if (c == u'$') {
            const bool display = i + 1 < length && text[i + 1] == u'$';
            const qsizetype end = mathEnd(text, i + (display ? 2 : 1), display ? u"$$" : u"$");
            add(i, end);
            i = end;
        } else if (c == u'\\' && i + 1 < length) {
            const qsizetype commandStart = i;
            qsizetype nameEnd = i + 1;
            while (nameEnd < length && text[nameEnd].isLetter() && text[nameEnd].unicode() < 128)
                ++nameEnd;
            if (nameEnd == i + 1)
                ++nameEnd;
            const QStringView name = text.mid(i + 1, nameEnd - i - 1);
            i = nameEnd;
            if (name == u"(" || name == u"[") {
                const qsizetype end = mathEnd(text, i, name == u"(" ? u"\\)" : u"\\]");
                add(commandStart, end);
                i = end;
                continue;
            }
            int groups = nonProseArgumentCount(name);
            if (groups == 0)
                continue;
            if (i < length && text[i] == u'*')
                ++i;
            // The options and arguments right after the command, on its line.
            const qsizetype argumentsStart = i;
            QStringView firstGroup;
            while (groups != 0) {
                qsizetype next = i;
                while (next < length && (text[next] == u' ' || text[next] == u'\t'))
                    ++next;
                if (next >= length || (text[next] != u'{' && text[next] != u'['))
                    break;
                const qsizetype end = groupEnd(text, next);
                if (text[next] == u'{') {
                    if (firstGroup.isNull())
                        firstGroup = text.mid(next + 1, qMax<qsizetype>(0, end - next - 2));
                    --groups;
                }
                i = end;
            }
            add(argumentsStart, i);
            if (name == u"begin" && isMathEnvironment(firstGroup)) {
                const QString closing = QStringLiteral("\\end{%1}").arg(firstGroup);
                const qsizetype end = mathEnd(text, i, closing);
                add(i, end);
                i = end;
            }
        } else {
            ++i;
        }
    }
    return ranges;
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
