#include "core/document/PLDocument.h"

#include "core/foundation/PLDictionaryKeys.h"
#include "core/document/PLDocumentWindowDelegate.h"
#include "core/project/PLFile.h"
#include "core/project/PLFileFactory.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/foundation/PLLogging.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLOutlineSettler.h"
#include "core/latex/PLQuickOpenManager.h"
#include "core/project/PLSafeFileWriter.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QUrl>

namespace {
const QString kDomain = QStringLiteral("PLDocument");
}

PLDocument::PLDocument(QObject *parent)
    : QObject(parent)
    , m_quickOpenManager(std::make_unique<PLQuickOpenManager>())
    , m_fileFactory(std::make_unique<PLFileFactory>(std::make_shared<PLLatexFileContentOutlineParser>()))
{
    m_outlineSettleTimer.setSingleShot(true);
    m_outlineSettleTimer.setInterval(outlineSettleDelay);
    connect(&m_outlineSettleTimer, &QTimer::timeout, this, &PLDocument::settleOutlines);
    m_quickOpenManager->setSearchWillBegin([this] { settleOutlines(); });
}

PLDocument::~PLDocument()
{
    // A document dropped without closing still gives its files back to the pool.
    if (!m_closed)
        close();
}

bool PLDocument::readFromURL(const QString &path, const QString &typeName, PLError *error)
{
    Q_UNUSED(typeName);
    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    const PLStringEncoding encoding = defaults.objectForKey(PLUserDefaultsFileEncoding).isValid()
        ? PLStringEncoding(defaults.integerForKey(PLUserDefaultsFileEncoding))
        : PLStringEncodings::UTF8;
    auto parser = std::make_shared<PLLatexFileContentOutlineParser>(m_quickOpenManager.get());
    std::shared_ptr<PLFile> file = PLFile::fileWithPath(QFileInfo(path).absoluteFilePath(), parser, encoding, error);
    if (!file)
        return false;
    m_fileURL = QFileInfo(path).absoluteFilePath();
    setMainFile(file);
    m_fileModificationDate = file->lastModificationDate();
    removeStaleSaveCopies();
    return true;
}

void PLDocument::makeUntitledMainFileIfNeeded()
{
    if (m_mainFile)
        return;
    auto parser = std::make_shared<PLLatexFileContentOutlineParser>(nullptr);
    setMainFile(PLFile::untitledFileWithName(displayName(), parser));
}

void PLDocument::setMainFile(std::shared_ptr<PLFile> file)
{
    m_mainFile = std::move(file);
    m_quickOpenManager->setFile(m_mainFile);
    watchEdits();
    emit mainFileChanged();
}

QList<std::shared_ptr<PLFile>> PLDocument::filesInDocument() const
{
    return filesReachedFromMainFile(false);
}

QList<std::shared_ptr<PLFile>> PLDocument::filesHeld() const
{
    return filesReachedFromMainFile(true);
}

QList<std::shared_ptr<PLFile>> PLDocument::filesReachedFromMainFile(bool withKeptFiles) const
{
    QList<std::shared_ptr<PLFile>> result;
    if (!m_mainFile)
        return result;
    // Breadth first through the include sets; the seen set ends the walk on cyclic projects.
    result.append(m_mainFile);
    QSet<const PLFile *> seen{m_mainFile.get()};
    for (qsizetype next = 0; next < result.size(); ++next) {
        auto reached = result[next]->filesInDocument();
        if (withKeptFiles)
            reached += result[next]->filesKeptForUnsavedChanges();
        for (const std::shared_ptr<PLFile> &file : reached) {
            if (!seen.contains(file.get())) {
                seen.insert(file.get());
                result.append(file);
            }
        }
    }
    return result;
}

QString PLDocument::displayName() const
{
    if (!m_displayName.isEmpty())
        return m_displayName;
    if (!m_fileURL.isEmpty())
        return QFileInfo(m_fileURL).fileName();
    return QStringLiteral("Untitled");
}

void PLDocument::prepareSavePanel(const QString &chosenPath)
{
    m_savePanelPath = QFileInfo(chosenPath).absoluteFilePath();
}

bool PLDocument::isSaveCancelled(const PLError &error)
{
    return error.domain == kDomain && error.code == SaveCancelledError;
}

bool PLDocument::saveDocument(PLError *error)
{
    if (!m_mainFile) {
        PLSetError(error, kDomain, NoMainFileError, QStringLiteral("The project has no main file."));
        return false;
    }
    if (m_fileURL.isEmpty()) {
        PLSetError(error, kDomain, UntitledError, QStringLiteral("An untitled project must be saved under a name first."));
        return false;
    }
    settleOutlines();
    removeStaleSaveCopies();
    QList<std::shared_ptr<PLFile>> files = filesWithUnsavedChanges();
    if (!resolveChangesOnDisk(files, error) || !saveFiles(files, error))
        return false;
    m_fileModificationDate = m_mainFile->lastModificationDate();
    return true;
}

bool PLDocument::saveDocumentAs(const QString &path, PLError *error)
{
    if (!m_mainFile) {
        PLSetError(error, kDomain, NoMainFileError, QStringLiteral("The project has no main file."));
        return false;
    }
    settleOutlines();
    prepareSavePanel(path);
    removeStaleSaveCopies();
    QList<std::shared_ptr<PLFile>> includedFiles = filesWithUnsavedChanges();
    includedFiles.removeAll(m_mainFile);
    const std::shared_ptr<PLFile> oldMainFile = m_mainFile;
    const std::shared_ptr<PLFile> newMainFile = resolveChangesOnDisk(includedFiles, error)
        ? oldMainFile->saveToPath(m_savePanelPath, QString(), error)
        : nullptr;
    if (!newMainFile) {
        m_savePanelPath.clear();
        return false;
    }
    setMainFile(newMainFile);
    PLNotificationCenter::defaultCenter().post(
        PLDocumentDidPerformSaveAsAction, this,
        {{PLDocumentUserInfoKeyOldMainFile, QVariant::fromValue(oldMainFile)},
         {PLDocumentUserInfoKeyNewMainFile, QVariant::fromValue(newMainFile)}});
    // The save-as closed the old main file, which gave back this document's hold on it; closing it
    // again would take another document's hold and drop the file while that document shows it.
    PLUserDefaults::standardUserDefaults().setString(
        QUrl::fromLocalFile(QFileInfo(m_savePanelPath).absolutePath()).toString(), PLUserDefaultsLastDirectorySaved);
    m_fileURL = m_savePanelPath;
    m_savePanelPath.clear();
    m_displayName.clear();
    m_fileModificationDate = newMainFile->lastModificationDate();
    return saveFiles(includedFiles, error);
}

QList<std::shared_ptr<PLFile>> PLDocument::filesWithUnsavedChanges() const
{
    QList<std::shared_ptr<PLFile>> files;
    for (const std::shared_ptr<PLFile> &file : filesHeld()) {
        if (!file->isUntitled() && file->hasUnsavedChanges())
            files.append(file);
    }
    return files;
}

bool PLDocument::resolveChangesOnDisk(QList<std::shared_ptr<PLFile>> &files, PLError *error)
{
    for (auto it = files.begin(); it != files.end();) {
        const std::shared_ptr<PLFile> file = *it;
        if (!file->hasFileOnDiskChangedSinceReadOrSaved()) {
            ++it;
            continue;
        }
        qCInfo(lcDocument).noquote() << QStringLiteral("%1 changed on disk since it was read or saved").arg(file->stringPath());
        const auto action = m_windowDelegate ? m_windowDelegate->documentActionForFileChangedOnDisk(this, file)
                                             : PLDocumentWindowDelegate::ChangedFileAction::Cancel;
        switch (action) {
        case PLDocumentWindowDelegate::ChangedFileAction::Overwrite:
            ++it;
            break;
        case PLDocumentWindowDelegate::ChangedFileAction::Reload: {
            PLError reloadError;
            if (!file->reloadContent(&reloadError))
                qCWarning(lcDocument).noquote() << QStringLiteral("error while reloading content: %1").arg(reloadError.message);
            if (file == m_mainFile)
                m_fileModificationDate = file->lastModificationDate();
            it = files.erase(it);
            break;
        }
        case PLDocumentWindowDelegate::ChangedFileAction::Cancel:
            if (m_windowDelegate)
                PLSetError(error, kDomain, SaveCancelledError, QStringLiteral("The save was cancelled."));
            else
                PLSetError(error, kDomain, FileChangedOnDiskError,
                           QStringLiteral("The file “%1” was changed by another program since it was opened or saved; "
                                          "nothing was saved.")
                               .arg(file->stringPath()));
            return false;
        }
    }
    return true;
}

bool PLDocument::saveFiles(const QList<std::shared_ptr<PLFile>> &files, PLError *error)
{
    bool saved = true;
    for (const std::shared_ptr<PLFile> &file : files) {
        saved = file->save(error);
        if (!saved)
            break;
        file->contentBuffer()->undoManager()->setClean();
    }
    updateChangeCount();
    return saved;
}

void PLDocument::removeStaleSaveCopies() const
{
    QStringList paths;
    for (const std::shared_ptr<PLFile> &file : filesHeld()) {
        if (!file->isUntitled())
            paths.append(file->stringPath());
    }
    PLSafeFileWriter::removeStaleTemporaryFiles(paths);
}

bool PLDocument::isDocumentEdited() const
{
    const auto files = filesHeld();
    return std::any_of(files.begin(), files.end(), [](const auto &file) { return file->hasUnsavedChanges(); });
}

void PLDocument::updateChangeCount()
{
    if (m_closed)
        return;
    // Files newly included by an edit are watched from their first edit on.
    watchEdits();
    const bool edited = isDocumentEdited();
    if (edited == m_lastEdited)
        return;
    m_lastEdited = edited;
    if (m_windowDelegate)
        m_windowDelegate->setDocumentEdited(edited);
    emit documentEditedChanged(edited);
}

void PLDocument::watchEdits()
{
    for (const std::shared_ptr<PLFile> &file : filesHeld()) {
        connect(file->contentBuffer(), &PLTextStorage::didProcessEditing, this, &PLDocument::fileTextDidChange,
                Qt::UniqueConnection);
        PLUndoManager *undo = file->contentBuffer()->undoManager();
        connect(undo, &PLUndoManager::cleanChanged, this, &PLDocument::updateChangeCount, Qt::UniqueConnection);
        connect(undo, &PLUndoManager::indexChanged, this, &PLDocument::updateChangeCount, Qt::UniqueConnection);
    }
}

void PLDocument::fileTextDidChange()
{
    const auto *buffer = qobject_cast<const PLTextContentBuffer *>(sender());
    const std::shared_ptr<PLFile> file = buffer ? buffer->file() : nullptr;
    if (!file)
        return;
    if (std::none_of(m_filesToSettle.begin(), m_filesToSettle.end(), [&](const auto &pending) { return pending.lock() == file; }))
        m_filesToSettle.push_back(file);
    m_outlineSettleTimer.start();
}

void PLDocument::settleOutlines()
{
    m_outlineSettleTimer.stop();
    const auto files = std::exchange(m_filesToSettle, {});
    if (m_closed)
        return;
    for (const auto &pending : files) {
        const std::shared_ptr<PLFile> file = pending.lock();
        // A reload builds the outline afresh by itself, with outline updating switched off meanwhile.
        if (file && file->openCount() > 0 && file->contentBuffer()->updateOutlineWhenReplacingCharacters())
            PLOutlineSettler::settleFile(file);
    }
    // Files a settle newly included are settled after their own edits too.
    watchEdits();
}

void PLDocument::windowDidBecomeKey()
{
    if (!m_mainFile)
        return;
    for (const std::shared_ptr<PLFile> &file : m_mainFile->filesInDocumentWhichHasBeenChangedByThirdParty()) {
        // Edits are never thrown away for what another program wrote.
        if (file->hasFileBeenEdited())
            continue;
        PLError error;
        if (!file->reloadContent(&error)) {
            qCWarning(lcDocument).noquote() << QStringLiteral("error while reloading content: %1").arg(error.message);
            continue;
        }
        if (file == m_mainFile)
            m_fileModificationDate = file->lastModificationDate();
    }
}

int PLDocument::removeTypesettingRelatedFiles()
{
    int removed = 0;
    for (const std::shared_ptr<PLFile> &file : filesInDocument())
        removed += file->removeTypesettingRelatedFiles();
    return removed;
}

void PLDocument::close()
{
    if (m_closed)
        return;
    for (const std::shared_ptr<PLFile> &file : filesHeld()) {
        disconnect(file->contentBuffer()->undoManager(), nullptr, this, nullptr);
        disconnect(file->contentBuffer(), nullptr, this, nullptr);
    }
    m_outlineSettleTimer.stop();
    m_filesToSettle.clear();
    m_closed = true;
    if (m_mainFile)
        m_mainFile->close();
}
