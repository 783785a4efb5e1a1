#pragma once

#include "core/foundation/PLError.h"
#include "core/project/PLFileDiskState.h"
#include "core/project/PLFileSearchResult.h"
#include "core/foundation/PLRange.h"
#include "core/project/PLSearchableFile.h"
#include "core/foundation/PLStringEncoding.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>
#include <vector>

class PLFileContentOutlineParser;
class PLOutlineNode;
class PLTextContentBuffer;

// One source file of a project: its path, its text in a content buffer, its encoding, its outline
// and the files it includes directly. The pool hands out one object per path, counting how often
// it is open, so every document that uses a file shares it.
class PLFile : public PLSearchableFile, public std::enable_shared_from_this<PLFile>
{
public:
    enum Engine : int { DefaultEngine = 0, XeLaTeXEngine = 2 };

    // The pooled file of the path with its open count raised, or a new file read in the encoding and
    // registered in the pool; the parser and encoding are ignored for a pooled file.
    static std::shared_ptr<PLFile> fileWithPath(const QString &path, std::shared_ptr<PLFileContentOutlineParser> parser,
                                                PLStringEncoding encoding, PLError *error = nullptr);
    // The same in UTF-8, whatever the settings say.
    static std::shared_ptr<PLFile> fileWithPath(const QString &path, std::shared_ptr<PLFileContentOutlineParser> parser,
                                                PLError *error = nullptr);
    static std::shared_ptr<PLFile> untitledFileWithName(const QString &name, std::shared_ptr<PLFileContentOutlineParser> parser);

    // The "PLUserDefaultsFileEncoding" setting, or UTF-8 when there is none.
    static PLStringEncoding preferedEncoding();

    ~PLFile() override;
    PLFile(const PLFile &) = delete;
    PLFile &operator=(const PLFile &) = delete;

    const QString &stringPath() const { return m_stringPath; }
    // The last component of the path, as it stands: a path is never a URL, so a "%" is a "%".
    QString name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    PLStringEncoding encoding() const { return m_encoding; }
    // The encoding the text was decoded with: Mac OS Roman when it did not decode in encoding().
    PLStringEncoding decodedEncoding() const { return m_decodedEncoding; }
    QString content() const;
    PLTextContentBuffer *contentBuffer() const { return m_contentBuffer.get(); }
    const std::shared_ptr<PLFileContentOutlineParser> &contentParser() const { return m_contentParser; }
    // Made by the parser; none for a file opened without one.
    const std::shared_ptr<PLOutlineNode> &outlineRootNode() const { return m_outlineRootNode; }
    // The files this file includes directly, in the order they were first included.
    QList<std::shared_ptr<PLFile>> filesInDocument() const;
    // The file among those this one includes directly whose path is exactly the given one.
    std::shared_ptr<PLFile> fileInDocumentWithPath(const QString &path) const;
    // This file and every file it includes, directly or not, each once, depth first in include order.
    QList<std::shared_ptr<PLFile>> allFilesInDocument();
    quint32 openCount() const { return m_openCount; }
    int engine() const { return m_engine; }
    void setEngine(int engine) { m_engine = engine; }
    PLRange selectedRange() const { return m_selectedRange; }
    void setSelectedRange(PLRange range) { m_selectedRange = range; }
    bool wasContentReadProperly() const { return m_wasContentReadProperly; }
    // Why nothing could be read at the path (a folder, a pipe, a device, a file beyond the size
    // limit, no permission), in words for the user; empty when the text was read or nothing exists
    // there yet. Such a file opens empty and is never saved over.
    const QString &unreadableReason() const { return m_unreadableReason; }

    QString type() const;
    QString nameWithOutFileExtension() const;
    // The path up to and including its last "/"; null for an untitled file.
    QString directoryOfFile() const;
    QString directoryPathOfFile() const;
    QString pdfPath() const;
    QString url() const;
    QString description() const;
    bool isUntitled() const { return m_stringPath.isEmpty(); }

    QDateTime lastModificationDate() const;
    bool hasFileBeenEdited() const;
    // The text differs from what was last read or saved.
    bool hasUnsavedChanges() const;
    bool hasDocumentBeenEdited() const;
    bool hasFileOnHarddriveChanged() const;
    // Whether another program changed, created or deleted the file since it was read or saved.
    bool hasFileOnDiskChangedSinceReadOrSaved() const;
    QList<std::shared_ptr<PLFile>> filesInDocumentWhichHasBeenChangedByThirdParty();

    bool reloadContent(PLError *error = nullptr);
    bool reloadContentUsingEncoding(PLStringEncoding encoding, PLError *error = nullptr);
    // Atomic writes of the text in the encoding it was read with: the file's own, or Mac OS Roman
    // when the text only decoded that way, so that bytes nobody touched stay as they were.
    bool save(PLError *error = nullptr);
    bool saveUsingTmpPath(const QString &path, PLError *error = nullptr);
    // Save-as: writes the text, closes this file and answers the pooled file of the new path. A
    // text the encoding cannot hold fails before the target is touched.
    std::shared_ptr<PLFile> saveToPath(const QString &path, const QString &tmpPath, PLError *error = nullptr);
    std::shared_ptr<PLFile> saveToURL(const QUrl &url, const QUrl &tmpUrl, PLError *error = nullptr);

    bool replaceContentStringInRange(PLRange range, const QString &string);
    void close();
    void resetOutline();
    // Served from the cache while the string is the last one searched, even after edits.
    QList<PLFileSearchResult> searchResultsInContentForString(const QString &string) override;

    void addFileToFilesContainedInDocument(const std::shared_ptr<PLFile> &file);
    std::shared_ptr<PLFile> addFileWithPathToFilesContainedInDocument(const QString &path);
    std::shared_ptr<PLFile> addUntitledFileWithNameToFilesContainedInDocument(const QString &name);
    void removeFileFromFilesContaindInDocument(const std::shared_ptr<PLFile> &file);
    // For an include that an edit took away. While another include node of this file's outline
    // still holds the file's root, only a surplus opening is given back (a bibliography opens its
    // files again whenever it is reparsed); otherwise the file leaves the include set and is closed
    // as often as this file opened it, except that a file with unsaved changes (or including one)
    // stays open as a kept file.
    void releaseFileContainedInDocument(const std::shared_ptr<PLFile> &file);
    // Files that left the include set while they held unsaved changes. This file keeps them open,
    // edits and all, until an include names them again or this file closes for good, so undo finds
    // them as they were and the document still saves them.
    QList<std::shared_ptr<PLFile>> filesKeptForUnsavedChanges() const;

    // Deletes the engine's by-products beside the file; the PDF stays. Answers how many went.
    int removeTypesettingRelatedFiles();
    void figureOutNameOfFile();

private:
    PLFile() = default;
    void initWithFilePath(const QString &path, std::shared_ptr<PLFileContentOutlineParser> parser, PLStringEncoding encoding);
    void initAsUntitledFileWithName(const QString &name, std::shared_ptr<PLFileContentOutlineParser> parser);
    void createContentBuffer(const QString &text);
    // Builds the outline afresh, which chooses the engine anew; the include set becomes what this
    // parse opened.
    void parse();
    // Closes the file as often as this file opened it, or keeps it open when it holds unsaved changes.
    void giveBackFile(const std::shared_ptr<PLFile> &file, int openings);
    void takeBackKeptFile(const std::shared_ptr<PLFile> &file);
    // The text in the file's encoding, falling back to Mac OS Roman; nothing when neither decodes.
    // Records what was read, as the base against which changes on disk are found.
    std::optional<QString> readText(PLStringEncoding encoding);
    std::optional<QByteArray> encodedContent(const QString &path, PLError *error) const;

    QString m_stringPath;
    QString m_name;
    PLStringEncoding m_encoding = PLStringEncodings::UTF8;
    // The encoding the text was actually decoded with, and is written back in.
    PLStringEncoding m_decodedEncoding = PLStringEncodings::UTF8;
    std::unique_ptr<PLTextContentBuffer> m_contentBuffer;
    std::shared_ptr<PLFileContentOutlineParser> m_contentParser;
    std::shared_ptr<PLOutlineNode> m_outlineRootNode;
    std::vector<std::shared_ptr<PLFile>> m_filesInDocument;
    // The first file of the include set with each path: a root that includes thousands of files
    // looks each include up here instead of comparing every path. A file's path never changes.
    QHash<QString, std::shared_ptr<PLFile>> m_filesInDocumentByPath;
    // How often this file opened each file of its include set.
    QHash<const PLFile *, int> m_openingsOfFilesInDocument;
    // Each held open once by this file.
    std::vector<std::shared_ptr<PLFile>> m_filesKeptForUnsavedChanges;
    quint32 m_openCount = 1;
    // The file as last read or written; one that does not exist counts as changed on disk.
    PLFileDiskState m_diskState;
    bool m_wasContentReadProperly = true;
    QString m_unreadableReason;
    int m_engine = DefaultEngine;
    PLRange m_selectedRange;
    QString m_lastSearchString;
    QList<PLFileSearchResult> m_lastSearchResults;
};
