#include "core/project/PLFile.h"

#include "core/project/PLFileContentOutlineParser.h"
#include "core/project/PLFilePool.h"
#include "core/foundation/PLLogging.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/project/PLRegularFileReader.h"
#include "core/project/PLSafeFileWriter.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/editor/PLTextContentBufferEditObserver.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unordered_set>

namespace {
const QString PLFileErrorDomain = QStringLiteral("PLFileErrorDomain");

bool holds(const std::vector<std::shared_ptr<PLFile>> &files, const std::shared_ptr<PLFile> &file)
{
    return std::find(files.begin(), files.end(), file) != files.end();
}

// The file, or a file it includes or keeps, has changes that would be lost if it closed now.
bool reachesUnsavedChanges(const std::shared_ptr<PLFile> &start)
{
    std::unordered_set<const PLFile *> visited;
    std::vector<std::shared_ptr<PLFile>> pending{start};
    while (!pending.empty()) {
        const auto file = std::move(pending.back());
        pending.pop_back();
        if (!visited.insert(file.get()).second)
            continue;
        if (file->hasUnsavedChanges())
            return true;
        for (const auto &next : file->filesInDocument())
            pending.push_back(next);
        for (const auto &next : file->filesKeptForUnsavedChanges())
            pending.push_back(next);
    }
    return false;
}
}

std::shared_ptr<PLFile> PLFile::fileWithPath(const QString &path, std::shared_ptr<PLFileContentOutlineParser> parser,
                                             PLStringEncoding encoding, PLError *error)
{
    if (path.isEmpty()) {
        PLSetError(error, PLFileErrorDomain, 1, QStringLiteral("A file needs a path to be opened."));
        return nullptr;
    }
    // "/p/./a.tex", "/p//a.tex" and "/p/q/../a.tex" are one file for the pool and the include loop guard.
    const QString cleanPath = QDir::cleanPath(path);
    PLFilePool &pool = PLFilePool::sharedFilePool();
    if (auto pooled = pool.fileForPath(cleanPath)) {
        ++pooled->m_openCount;
        return pooled;
    }
    std::shared_ptr<PLFile> file(new PLFile);
    file->initWithFilePath(cleanPath, std::move(parser), encoding);
    pool.didOpenFile(file);
    return file;
}

std::shared_ptr<PLFile> PLFile::fileWithPath(const QString &path, std::shared_ptr<PLFileContentOutlineParser> parser,
                                             PLError *error)
{
    return fileWithPath(path, std::move(parser), PLStringEncodings::UTF8, error);
}

std::shared_ptr<PLFile> PLFile::untitledFileWithName(const QString &name, std::shared_ptr<PLFileContentOutlineParser> parser)
{
    PLFilePool &pool = PLFilePool::sharedFilePool();
    if (auto pooled = pool.untitledFileWithName(name)) {
        qCDebug(lcFile).noquote() << QStringLiteral("read untitled file from pool: %1").arg(pooled->description());
        ++pooled->m_openCount;
        return pooled;
    }
    std::shared_ptr<PLFile> file(new PLFile);
    file->initAsUntitledFileWithName(name, std::move(parser));
    qCDebug(lcFile).noquote() << QStringLiteral("created new untitled file: %1").arg(file->description());
    pool.didOpenUntitledFile(file);
    return file;
}

PLStringEncoding PLFile::preferedEncoding()
{
    const QVariant value = PLUserDefaults::standardUserDefaults().objectForKey(PLUserDefaultsFileEncoding);
    return value.isValid() ? PLStringEncoding(PLUserDefaults::standardUserDefaults().integerForKey(PLUserDefaultsFileEncoding))
                           : PLStringEncodings::UTF8;
}

PLFile::~PLFile() = default;

void PLFile::initWithFilePath(const QString &path, std::shared_ptr<PLFileContentOutlineParser> parser, PLStringEncoding encoding)
{
    m_stringPath = path;
    if (!QFileInfo::exists(path)) {
        // A file still to be written: empty, and reported as changed on disk since nothing was read.
        figureOutNameOfFile();
        m_contentParser = std::move(parser);
        createContentBuffer(QString());
        resetOutline();
        parse();
        m_contentBuffer->undoManager()->clear();
        return;
    }
    m_encoding = encoding;
    figureOutNameOfFile();
    const std::optional<QString> text = readText(encoding);
    m_contentParser = std::move(parser);
    createContentBuffer(text.value_or(QString()));
    resetOutline();
    parse();
}

void PLFile::initAsUntitledFileWithName(const QString &name, std::shared_ptr<PLFileContentOutlineParser> parser)
{
    m_name = name;
    m_contentParser = std::move(parser);
    createContentBuffer(QString());
    resetOutline();
    parse();
}

void PLFile::createContentBuffer(const QString &text)
{
    m_contentBuffer = std::make_unique<PLTextContentBuffer>(name(), shared_from_this(), text);
    if (m_contentParser)
        m_contentBuffer->setEditObserver(m_contentParser->editObserverForFile(shared_from_this()));
}

void PLFile::parse()
{
    if (!m_contentParser)
        return;
    // The parse opens every include anew and what the previous outline held is given back after it,
    // so a reparse ends with the counts of a fresh open: files still included keep their object,
    // files no longer included leave the include set.
    const auto previous = std::exchange(m_filesInDocument, {});
    m_filesInDocumentByPath.clear();
    const auto previousOpenings = std::exchange(m_openingsOfFilesInDocument, {});
    m_contentParser->parseFile(shared_from_this());
    for (const auto &file : previous)
        giveBackFile(file, std::max(1, previousOpenings.value(file.get())));
}

void PLFile::giveBackFile(const std::shared_ptr<PLFile> &file, int openings)
{
    if (!holds(m_filesInDocument, file) && !holds(m_filesKeptForUnsavedChanges, file) && reachesUnsavedChanges(file)) {
        m_filesKeptForUnsavedChanges.push_back(file);
        --openings;
    }
    for (int i = 0; i < openings; ++i)
        file->close();
}

void PLFile::takeBackKeptFile(const std::shared_ptr<PLFile> &file)
{
    const auto kept = std::find(m_filesKeptForUnsavedChanges.begin(), m_filesKeptForUnsavedChanges.end(), file);
    if (kept == m_filesKeptForUnsavedChanges.end())
        return;
    m_filesKeptForUnsavedChanges.erase(kept);
    // The include that names it again holds it now.
    file->close();
}

std::optional<QString> PLFile::readText(PLStringEncoding encoding)
{
    PLRegularFileReader::Result read = PLRegularFileReader::read(m_stringPath);
    m_diskState = read.state;
    m_unreadableReason = read.failure;
    m_wasContentReadProperly = false;
    // A file gone from disk is written again in its own encoding if the user saves it.
    m_decodedEncoding = encoding;
    if (read.bytes) {
        if (auto text = PLStringEncodings::decode(*read.bytes, encoding)) {
            m_wasContentReadProperly = true;
            return text;
        }
        if (auto text = PLStringEncodings::decode(*read.bytes, PLStringEncodings::MacOSRoman)) {
            m_decodedEncoding = PLStringEncodings::MacOSRoman;
            return text;
        }
        m_unreadableReason = QStringLiteral("“%1” could not be decoded.").arg(m_name);
    }
    qCWarning(lcFile).noquote() << QStringLiteral("cannot read %1: %2")
                                       .arg(m_stringPath, m_unreadableReason.isEmpty() ? QStringLiteral("it does not exist")
                                                                                       : m_unreadableReason);
    return std::nullopt;
}

QString PLFile::content() const
{
    return m_contentBuffer ? m_contentBuffer->string() : QString();
}

std::shared_ptr<PLFile> PLFile::fileInDocumentWithPath(const QString &path) const
{
    return m_filesInDocumentByPath.value(path);
}

QList<std::shared_ptr<PLFile>> PLFile::filesInDocument() const
{
    return QList<std::shared_ptr<PLFile>>(m_filesInDocument.begin(), m_filesInDocument.end());
}

QList<std::shared_ptr<PLFile>> PLFile::allFilesInDocument()
{
    QList<std::shared_ptr<PLFile>> files;
    std::unordered_set<const PLFile *> visited;
    std::vector<std::shared_ptr<PLFile>> pending{shared_from_this()};
    while (!pending.empty()) {
        auto file = std::move(pending.back());
        pending.pop_back();
        if (!visited.insert(file.get()).second)
            continue;
        pending.insert(pending.end(), file->m_filesInDocument.rbegin(), file->m_filesInDocument.rend());
        files.append(std::move(file));
    }
    return files;
}

QString PLFile::type() const
{
    const QString fileName = name();
    const qsizetype dot = fileName.lastIndexOf(u'.');
    return dot < 0 ? QString() : fileName.mid(dot + 1);
}

QString PLFile::nameWithOutFileExtension() const
{
    const QString fileName = name();
    const qsizetype dot = fileName.lastIndexOf(u'.');
    return dot < 0 ? fileName : fileName.left(dot);
}

QString PLFile::directoryOfFile() const
{
    if (m_stringPath.isEmpty())
        return QString();
    return m_stringPath.left(m_stringPath.lastIndexOf(u'/') + 1);
}

QString PLFile::directoryPathOfFile() const
{
    return directoryOfFile();
}

QString PLFile::pdfPath() const
{
    return directoryOfFile() + nameWithOutFileExtension() + QStringLiteral(".pdf");
}

QString PLFile::url() const
{
    return QStringLiteral("file://localhost")
        + QString::fromLatin1(QUrl::toPercentEncoding(m_stringPath, QByteArrayLiteral("/!$&'()*+,;=:@")));
}

QString PLFile::description() const
{
    return QStringLiteral("<PLFile: 0x%1>, Filepath: %2 (openCount: %3)")
        .arg(quintptr(this), 0, 16)
        .arg(m_stringPath)
        .arg(m_openCount);
}

QDateTime PLFile::lastModificationDate() const
{
    return QFileInfo(m_stringPath).lastModified();
}

bool PLFile::hasFileBeenEdited() const
{
    return m_contentBuffer && m_contentBuffer->undoManager()->canUndo();
}

bool PLFile::hasUnsavedChanges() const
{
    return m_contentBuffer && !m_contentBuffer->undoManager()->isClean();
}

bool PLFile::hasDocumentBeenEdited() const
{
    return hasFileBeenEdited()
        || std::any_of(m_filesInDocument.begin(), m_filesInDocument.end(),
                       [](const auto &file) { return file->hasFileBeenEdited(); });
}

bool PLFile::hasFileOnHarddriveChanged() const
{
    if (isUntitled())
        return false;
    return !m_diskState.exists || m_diskState.modificationTimeNs != PLFileDiskState::ofPath(m_stringPath).modificationTimeNs;
}

bool PLFile::hasFileOnDiskChangedSinceReadOrSaved() const
{
    return !isUntitled() && !m_diskState.isStillOnDisk(m_stringPath);
}

QList<std::shared_ptr<PLFile>> PLFile::filesInDocumentWhichHasBeenChangedByThirdParty()
{
    QList<std::shared_ptr<PLFile>> changed;
    if (hasFileOnHarddriveChanged())
        changed.append(shared_from_this());
    for (const auto &file : m_filesInDocument) {
        if (file->hasFileOnHarddriveChanged())
            changed.append(file);
    }
    return changed;
}

bool PLFile::reloadContent(PLError *error)
{
    return reloadContentUsingEncoding(m_encoding, error);
}

bool PLFile::reloadContentUsingEncoding(PLStringEncoding encoding, PLError *)
{
    m_encoding = encoding;
    figureOutNameOfFile();
    // When neither decoding works the old text stays and the outline is rebuilt all the same.
    if (const std::optional<QString> text = readText(encoding)) {
        m_contentBuffer->setUpdateOutlineWhenReplacingCharacters(false);
        m_contentBuffer->setString(*text);
        m_contentBuffer->undoManager()->clear();
        m_contentBuffer->setUpdateOutlineWhenReplacingCharacters(true);
    }
    resetOutline();
    parse();
    PLNotificationCenter::defaultCenter().post(PLNotificationFileDidReloadContent, this);
    return true;
}

std::optional<QByteArray> PLFile::encodedContent(const QString &path, PLError *error) const
{
    PLError encodingError;
    std::optional<QByteArray> bytes = PLStringEncodings::encode(content(), m_decodedEncoding, &encodingError);
    if (!bytes)
        PLSetError(error, encodingError.domain, encodingError.code,
                   QStringLiteral("The file “%1” could not be saved: %2.").arg(path, encodingError.message));
    return bytes;
}

bool PLFile::save(PLError *error)
{
    if (isUntitled()) {
        PLSetError(error, PLFileErrorDomain, 3, QStringLiteral("An untitled file has no path to be saved to."));
        return false;
    }
    if (!m_unreadableReason.isEmpty()) {
        PLSetError(error, PLFileErrorDomain, 5,
                   QStringLiteral("%1 It is not saved, so that what is there stays as it is.").arg(m_unreadableReason));
        return false;
    }
    const std::optional<QByteArray> bytes = encodedContent(m_stringPath, error);
    return bytes && PLSafeFileWriter::write(m_stringPath, *bytes, &m_diskState, error);
}

bool PLFile::saveUsingTmpPath(const QString &path, PLError *error)
{
    const std::optional<QByteArray> bytes = encodedContent(path, error);
    return bytes && PLSafeFileWriter::write(path, *bytes, nullptr, error);
}

std::shared_ptr<PLFile> PLFile::saveToPath(const QString &path, const QString &tmpPath, PLError *error)
{
    const std::optional<QByteArray> bytes = encodedContent(path, error);
    if (!bytes)
        return nullptr;
    // With a temporary location the caller moves the copy over the target later; until then a
    // new target exists empty and an existing one keeps every byte.
    if (!tmpPath.isEmpty() && !QFileInfo::exists(path)) {
        QFile created(path);
        if (!created.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            PLSetError(error, PLFileErrorDomain, 4, QStringLiteral("Cannot create %1: %2").arg(path, created.errorString()));
            return nullptr;
        }
    }
    PLFileDiskState written;
    if (!PLSafeFileWriter::write(tmpPath.isEmpty() ? path : tmpPath, *bytes, &written, error))
        return nullptr;
    const PLStringEncoding writtenEncoding = m_decodedEncoding;
    const auto self = shared_from_this();
    close();
    auto saved = fileWithPath(path, m_contentParser, preferedEncoding(), error);
    if (!saved)
        return nullptr;
    if (tmpPath.isEmpty())
        saved->m_diskState = written;
    const std::optional<QString> text = PLStringEncodings::decode(*bytes, writtenEncoding);
    // The new file may have been read from an empty placeholder, from the file it replaces, or in
    // another encoding; it takes the saved text as it stands, without typing filters, and is
    // written back the way it was written now.
    if (text && *text != saved->content()) {
        saved->m_contentBuffer->setUpdateOutlineWhenReplacingCharacters(false);
        saved->m_contentBuffer->setString(*text);
        saved->m_contentBuffer->undoManager()->clear();
        saved->m_contentBuffer->setUpdateOutlineWhenReplacingCharacters(true);
        saved->m_decodedEncoding = writtenEncoding;
        saved->m_wasContentReadProperly = writtenEncoding == saved->m_encoding;
        saved->resetOutline();
        saved->parse();
    }
    return saved;
}

std::shared_ptr<PLFile> PLFile::saveToURL(const QUrl &url, const QUrl &tmpUrl, PLError *error)
{
    return saveToPath(url.toLocalFile(), tmpUrl.isEmpty() ? QString() : tmpUrl.toLocalFile(), error);
}

bool PLFile::replaceContentStringInRange(PLRange range, const QString &string)
{
    if (range.location < 0 || range.length < 0 || range.end() > content().size())
        return false;
    m_contentBuffer->replaceCharactersInRange(range, string);
    return true;
}

void PLFile::close()
{
    // Closed for good already: a save-as closes the old main file from the file and from the
    // document, and a loop of includes reaches a closing file again.
    if (m_openCount == 0)
        return;
    // Included files are held for as long as any owner holds this one, so another document that
    // still shows this file keeps showing the pooled objects of its includes.
    if (--m_openCount > 0)
        return;
    const auto self = shared_from_this();
    if (isUntitled())
        PLFilePool::sharedFilePool().didCloseUntitledFile(self);
    else
        PLFilePool::sharedFilePool().didCloseFile(self);
    // Each included file is closed as often as this file opened it, so a bibliography named twice
    // leaves the pool with the project; a file added without opening is closed once.
    const auto openings = std::exchange(m_openingsOfFilesInDocument, {});
    for (const auto &file : filesInDocument()) {
        for (int i = 0; i < std::max(1, openings.value(file.get())); ++i)
            file->close();
    }
    for (const auto &file : std::exchange(m_filesKeptForUnsavedChanges, {}))
        file->close();
}

void PLFile::resetOutline()
{
    // The root object stays the same, so include nodes of other files that hold it see the new
    // outline and observers that filter on it keep working.
    if (m_contentParser)
        m_outlineRootNode = m_contentParser->resetOutlineRootNode(shared_from_this(), m_outlineRootNode);
}

QList<PLFileSearchResult> PLFile::searchResultsInContentForString(const QString &string)
{
    if (string == m_lastSearchString && !m_lastSearchResults.isEmpty())
        return m_lastSearchResults;
    QList<PLFileSearchResult> results;
    const QString text = content();
    const auto self = shared_from_this();
    for (qsizetype from = 0, hit; !string.isEmpty() && (hit = text.indexOf(string, from)) >= 0; from = hit + string.size()) {
        const PLRange range{hit, string.size()};
        const PLRange line = PLStringLineCalculations::lineRangeForRange(text, range);
        results.append(PLFileSearchResult(self, string, range, text.mid(line.location, line.length).trimmed()));
    }
    m_lastSearchString = string;
    m_lastSearchResults = results;
    return results;
}

void PLFile::addFileToFilesContainedInDocument(const std::shared_ptr<PLFile> &file)
{
    if (file && std::find(m_filesInDocument.begin(), m_filesInDocument.end(), file) == m_filesInDocument.end()) {
        m_filesInDocument.push_back(file);
        if (!m_filesInDocumentByPath.contains(file->stringPath()))
            m_filesInDocumentByPath.insert(file->stringPath(), file);
    }
}

std::shared_ptr<PLFile> PLFile::addFileWithPathToFilesContainedInDocument(const QString &path)
{
    auto file = fileWithPath(path, m_contentParser, preferedEncoding());
    if (file) {
        takeBackKeptFile(file);
        addFileToFilesContainedInDocument(file);
        ++m_openingsOfFilesInDocument[file.get()];
    }
    return file;
}

std::shared_ptr<PLFile> PLFile::addUntitledFileWithNameToFilesContainedInDocument(const QString &name)
{
    auto file = untitledFileWithName(name, m_contentParser);
    takeBackKeptFile(file);
    addFileToFilesContainedInDocument(file);
    ++m_openingsOfFilesInDocument[file.get()];
    return file;
}

void PLFile::removeFileFromFilesContaindInDocument(const std::shared_ptr<PLFile> &file)
{
    m_filesInDocument.erase(std::remove(m_filesInDocument.begin(), m_filesInDocument.end(), file), m_filesInDocument.end());
    if (file && m_filesInDocumentByPath.value(file->stringPath()) == file) {
        // Another file of the include set may have the same path: the first of them takes its place.
        m_filesInDocumentByPath.remove(file->stringPath());
        const auto next = std::find_if(m_filesInDocument.begin(), m_filesInDocument.end(),
                                       [&](const auto &other) { return other->stringPath() == file->stringPath(); });
        if (next != m_filesInDocument.end())
            m_filesInDocumentByPath.insert(file->stringPath(), *next);
    }
    m_openingsOfFilesInDocument.remove(file.get());
}

void PLFile::releaseFileContainedInDocument(const std::shared_ptr<PLFile> &file)
{
    // A file already given back is not closed a second time.
    if (!file || !holds(m_filesInDocument, file))
        return;
    const int openings = m_openingsOfFilesInDocument.value(file.get());
    if (m_contentParser && m_contentParser->outlineIncludesFile(*this, *file)) {
        if (openings > 1) {
            m_openingsOfFilesInDocument[file.get()] = openings - 1;
            file->close();
        }
        return;
    }
    removeFileFromFilesContaindInDocument(file);
    giveBackFile(file, std::max(1, openings));
}

QList<std::shared_ptr<PLFile>> PLFile::filesKeptForUnsavedChanges() const
{
    return QList<std::shared_ptr<PLFile>>(m_filesKeptForUnsavedChanges.begin(), m_filesKeptForUnsavedChanges.end());
}

int PLFile::removeTypesettingRelatedFiles()
{
    if (isUntitled())
        return 0;
    static const QString suffixes[] = {
        QStringLiteral(".aux"), QStringLiteral(".bbl"), QStringLiteral(".blg"), QStringLiteral(".exa"),
        QStringLiteral(".idx"), QStringLiteral(".lof"), QStringLiteral(".log"), QStringLiteral(".lot"),
        QStringLiteral(".out"), QStringLiteral(".toc"), QStringLiteral(".synctex.gz"),
    };
    const QString prefix = directoryOfFile() + nameWithOutFileExtension();
    int removed = 0;
    for (const QString &suffix : suffixes) {
        if (QFileInfo::exists(prefix + suffix) && QFile::remove(prefix + suffix))
            ++removed;
    }
    return removed;
}

void PLFile::figureOutNameOfFile()
{
    if (m_stringPath.isEmpty())
        return;
    QString path = m_stringPath;
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    m_name = path.mid(path.lastIndexOf(u'/') + 1);
}
