#include "PLDocument.h"

#include "PLDictionaryKeys.h"
#include "PLDocumentWindowDelegate.h"
#include "PLFile.h"
#include "PLFileFactory.h"
#include "PLLatexFileContentOutlineParser.h"
#include "PLLogging.h"
#include "PLNotificationCenter.h"
#include "PLNotificationNameConstants.h"
#include "PLQuickOpenManager.h"
#include "PLTextContentBuffer.h"
#include "PLUserDefaults.h"
#include "PLUserDefaultsConstants.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QUndoStack>
#include <QUrl>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {
const QString kDomain = QStringLiteral("PLDocument");

// A path beside the target, so the final move stays on one file system and is atomic.
QString temporaryPathBeside(const QString &target)
{
    const QFileInfo info(target);
    return info.absoluteDir().filePath(QStringLiteral(".%1.plumeo-save-%2")
                                           .arg(info.fileName(), QUuid::createUuid().toString(QUuid::Id128)));
}

bool moveOver(const QString &from, const QString &to, PLError *error)
{
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
    PLSetError(error, kDomain, errno, QStringLiteral("Could not replace %1: %2").arg(to, QString::fromLocal8Bit(std::strerror(errno))));
    QFile::remove(from);
    return false;
}
}

PLDocument::PLDocument(QObject *parent)
    : QObject(parent)
    , m_quickOpenManager(std::make_unique<PLQuickOpenManager>())
    , m_fileFactory(std::make_unique<PLFileFactory>())
{
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

bool PLDocument::writeToURL(const QString &path, const QString &typeName, PLError *error)
{
    Q_UNUSED(typeName);
    if (!m_mainFile) {
        PLSetError(error, kDomain, 1, QStringLiteral("The project has no main file."));
        return false;
    }
    if (m_savePanelPath.isEmpty()) {
        // The main file goes to the caller's temporary location, which then replaces the original,
        // and to its own path with the rest of the project.
        if (!m_mainFile->saveUsingTmpPath(path, error))
            return false;
        for (const std::shared_ptr<PLFile> &file : filesHeld()) {
            if (!file->isUntitled() && !file->save(error))
                return false;
        }
        markFilesSaved();
        return true;
    }

    const std::shared_ptr<PLFile> oldMainFile = m_mainFile;
    const std::shared_ptr<PLFile> newMainFile = oldMainFile->saveToPath(m_savePanelPath, path, error);
    if (!newMainFile)
        return false;
    setMainFile(newMainFile);
    PLNotificationCenter::defaultCenter().post(
        PLDocumentDidPerformSaveAsAction, this,
        {{PLDocumentUserInfoKeyOldMainFile, QVariant::fromValue(oldMainFile)},
         {PLDocumentUserInfoKeyNewMainFile, QVariant::fromValue(newMainFile)}});
    // The save-as closed the old main file, which gave back this document's hold on it; closing it
    // again would take another document's hold and drop the file while that document shows it.
    PLUserDefaults::standardUserDefaults().setString(
        QUrl::fromLocalFile(QFileInfo(m_savePanelPath).absolutePath()).toString(), PLUserDefaultsLastDirectorySaved);
    m_savePanelPath.clear();
    markFilesSaved();
    return bool(m_mainFile);
}

bool PLDocument::saveDocument(PLError *error)
{
    if (m_fileURL.isEmpty()) {
        PLSetError(error, kDomain, 2, QStringLiteral("An untitled project must be saved under a name first."));
        return false;
    }
    const QString temporary = temporaryPathBeside(m_fileURL);
    if (!writeToURL(temporary, QStringLiteral("tex"), error)) {
        QFile::remove(temporary);
        return false;
    }
    if (!moveOver(temporary, m_fileURL, error))
        return false;
    m_fileModificationDate = QFileInfo(m_fileURL).lastModified();
    return true;
}

bool PLDocument::saveDocumentAs(const QString &path, PLError *error)
{
    prepareSavePanel(path);
    const QString target = m_savePanelPath;
    const QString temporary = temporaryPathBeside(target);
    if (!writeToURL(temporary, QStringLiteral("tex"), error)) {
        m_savePanelPath.clear();
        QFile::remove(temporary);
        return false;
    }
    if (!moveOver(temporary, target, error))
        return false;
    m_fileURL = target;
    m_displayName.clear();
    m_fileModificationDate = QFileInfo(target).lastModified();
    return true;
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
        QUndoStack *undo = file->contentBuffer()->undoManager();
        connect(undo, &QUndoStack::cleanChanged, this, &PLDocument::updateChangeCount, Qt::UniqueConnection);
        connect(undo, &QUndoStack::indexChanged, this, &PLDocument::updateChangeCount, Qt::UniqueConnection);
    }
}

void PLDocument::markFilesSaved()
{
    for (const std::shared_ptr<PLFile> &file : filesHeld())
        file->contentBuffer()->undoManager()->setClean();
    updateChangeCount();
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

void PLDocument::removeTypesettingRelatedFiles()
{
    for (const std::shared_ptr<PLFile> &file : filesInDocument())
        file->removeTypesettingRelatedFiles();
}

void PLDocument::close()
{
    if (m_closed)
        return;
    for (const std::shared_ptr<PLFile> &file : filesHeld())
        disconnect(file->contentBuffer()->undoManager(), nullptr, this, nullptr);
    m_closed = true;
    if (m_mainFile)
        m_mainFile->close();
}
