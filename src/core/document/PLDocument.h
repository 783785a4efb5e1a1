#pragma once

#include "core/foundation/PLError.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariant>

#include <memory>
#include <vector>

class PLDocumentWindowDelegate;
class PLFile;
class PLFileFactory;
class PLQuickOpenManager;

// One open project: its main (root) file and every file reached from it through include
// commands. Everything it does to files works without a window.
class PLDocument : public QObject
{
    Q_OBJECT

public:
    // Codes of the errors a save reports in the "PLDocument" domain.
    enum SaveError {
        NoMainFileError = 1,
        UntitledError = 2,
        // Another program changed a file and no window was there to ask what to do.
        FileChangedOnDiskError = 3,
        // The user chose to cancel; nothing more needs saying.
        SaveCancelledError = 4,
    };
    // A save the user cancelled: nothing to report.
    static bool isSaveCancelled(const PLError &error);

    explicit PLDocument(QObject *parent = nullptr);
    ~PLDocument() override;

    // Opens the project rooted at the path in the encoding of the settings (UTF-8 when unset).
    bool readFromURL(const QString &path, const QString &typeName, PLError *error = nullptr);
    // A document that read nothing gets an untitled main file named after it.
    void makeUntitledMainFileIfNeeded();

    std::shared_ptr<PLFile> mainFile() const { return m_mainFile; }
    void setMainFile(std::shared_ptr<PLFile> file);
    PLQuickOpenManager *quickOpenManager() const { return m_quickOpenManager.get(); }
    PLFileFactory *fileFactory() const { return m_fileFactory.get(); }

    // The main file and every file it includes, directly or not, each once.
    QList<std::shared_ptr<PLFile>> filesInDocument() const;

    // The path the project was read from or last saved to; empty for an untitled project.
    QString fileURL() const { return m_fileURL; }
    QString displayName() const;
    void setDisplayName(const QString &name) { m_displayName = name; }
    // The modification date of the main file as the document last knew it.
    QDateTime fileModificationDate() const { return m_fileModificationDate; }

    // Remembers where a save-as will go, as the save panel does when the user confirms it.
    void prepareSavePanel(const QString &chosenPath);
    bool hasSavePanel() const { return !m_savePanelPath.isEmpty(); }

    // Writes every file of the project with unsaved changes, each atomically, and nothing else: an
    // untouched file keeps its bytes and its date, and a missing one is not created. A file that
    // another program changed since it was read or saved is written only if the window's delegate
    // says so.
    bool saveDocument(PLError *error = nullptr);
    // The main file moves to the path; included files stay where they are and are saved there.
    bool saveDocumentAs(const QString &path, PLError *error = nullptr);

    // Any file of the project has changes that are not saved.
    bool isDocumentEdited() const;
    void updateChangeCount();

    // How long typing pauses before the outlines of the edited files are checked against their text.
    static constexpr int outlineSettleDelay = 400;
    // Brings the outline of every file edited since the last settle to what a fresh parse of its
    // text gives. It runs once typing pauses, and before a save, a typesetting job or a quick-open
    // search, so each of those sees the outline the text stands for.
    void settleOutlines();

    // Reloads unedited files that another program changed, when the window becomes active.
    void windowDidBecomeKey();
    // Deletes the by-products of every file of the project; answers how many files went.
    int removeTypesettingRelatedFiles();
    void close();
    bool isClosed() const { return m_closed; }

    void setWindowDelegate(PLDocumentWindowDelegate *delegate) { m_windowDelegate = delegate; }
    PLDocumentWindowDelegate *windowDelegate() const { return m_windowDelegate; }

signals:
    void documentEditedChanged(bool edited);
    void mainFileChanged();

private:
    // The project's files and the files they keep open for unsaved changes whose include went away:
    // what the document saves, watches and asks about.
    QList<std::shared_ptr<PLFile>> filesHeld() const;
    QList<std::shared_ptr<PLFile>> filesReachedFromMainFile(bool withKeptFiles) const;
    void watchEdits();
    void fileTextDidChange();
    QList<std::shared_ptr<PLFile>> filesWithUnsavedChanges() const;
    // Asks the delegate about every file changed on disk; those reloaded leave the list. False
    // when the save must stop.
    bool resolveChangesOnDisk(QList<std::shared_ptr<PLFile>> &files, PLError *error);
    bool saveFiles(const QList<std::shared_ptr<PLFile>> &files, PLError *error);
    // Copies that saves killed half way left beside the project's files.
    void removeStaleSaveCopies() const;

    std::shared_ptr<PLFile> m_mainFile;
    std::unique_ptr<PLQuickOpenManager> m_quickOpenManager;
    std::unique_ptr<PLFileFactory> m_fileFactory;
    PLDocumentWindowDelegate *m_windowDelegate = nullptr;
    QString m_fileURL;
    QString m_displayName;
    QString m_savePanelPath;
    QDateTime m_fileModificationDate;
    // Files edited since the last settle; a file that closed meanwhile is skipped.
    std::vector<std::weak_ptr<PLFile>> m_filesToSettle;
    QTimer m_outlineSettleTimer;
    bool m_lastEdited = false;
    bool m_closed = false;
};

// Save-as announces the old and the new main file in its user info.
Q_DECLARE_METATYPE(std::shared_ptr<PLFile>)
