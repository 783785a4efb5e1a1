#include "core/foundation/PLDictionaryKeys.h"
#include "core/document/PLDocument.h"
#include "core/document/PLDocumentWindowDelegate.h"
#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLOutlineNode.h"
#include "core/latex/PLQuickOpenManager.h"
#include "PLTestSupport.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <map>
#include <random>
#include <set>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Document : public ::testing::Test
{
protected:
    void SetUp() override
    {
        PLTest::resetSettings();
        ASSERT_TRUE(m_dir.isValid());
    }

    QString path(const QString &relative) const { return QDir(m_dir.path()).filePath(relative); }
    void write(const QString &relative, const QByteArray &bytes) const { PLTest::writeFile(path(relative), bytes); }

    std::unique_ptr<PLDocument> open(const QString &relative)
    {
        auto document = std::make_unique<PLDocument>();
        PLError error;
        EXPECT_TRUE(document->readFromURL(path(relative), QStringLiteral("tex"), &error)) << error.message.toStdString();
        return document;
    }

    // Moves a file's modification time so change detection sees it, whatever the clock's resolution.
    void touchLater(const QString &relative) const
    {
        QFile file(path(relative));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.setFileTime(QFileInfo(file).lastModified().addSecs(5), QFileDevice::FileModificationTime));
    }

    QDateTime modified(const QString &relative) const { return QFileInfo(path(relative)).lastModified(); }
    QStringList saveCopies() const
    {
        return QDir(m_dir.path()).entryList(QStringList{QStringLiteral(".*plumeo-save*")}, QDir::Hidden | QDir::Files);
    }
    void append(PLFile &file, const QString &text) const
    {
        file.contentBuffer()->replaceCharactersInRange(PLRange{file.content().size(), 0}, text);
    }

    QTemporaryDir m_dir;
};

// Answers the question about files changed on disk as the user would, and counts the questions.
class ChangedFileDelegate : public PLDocumentWindowDelegate
{
public:
    explicit ChangedFileDelegate(ChangedFileAction answer) : m_answer(answer) {}
    void setDocumentEdited(bool) override {}
    ChangedFileAction documentActionForFileChangedOnDisk(PLDocument *, const std::shared_ptr<PLFile> &file) override
    {
        asked.append(file->name());
        return m_answer;
    }

    QStringList asked;

private:
    ChangedFileAction m_answer;
};

// A table-driven Document test; each case names itself with its label.
template <class Case>
class DocumentCase : public Document, public ::testing::WithParamInterface<Case>
{
};

const auto byLabel = [](const auto &info) { return std::string(info.param.label); };

struct DetachCase
{
    const char *label;
    qsizetype location;
    qsizetype length;
    const char16_t *replacement;
};
using EditedIncludedFile = DocumentCase<DetachCase>;

// Taking away the include of a file with unsaved edits closed it, so its edits were gone and undo
// read it again from disk.
TEST_P(EditedIncludedFile, OutlivesItsIncludeWithItsEdits)
{
    write(QStringLiteral("main.tex"), "intro\n\\input{chap}\nend\n");
    write(QStringLiteral("chap.tex"), "\\input{deeper}\n");
    write(QStringLiteral("deeper.tex"), "disk\n");
    auto document = open(QStringLiteral("main.tex"));
    const auto main = document->mainFile();
    const auto chap = PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("chap.tex")));
    const auto deeper = PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("deeper.tex")));
    ASSERT_TRUE(chap && deeper);
    deeper->replaceContentStringInRange(PLRange{0, 4}, QStringLiteral("mine"));
    ASSERT_TRUE(main->replaceContentStringInRange(PLRange{GetParam().location, GetParam().length},
                                                  QString::fromUtf16(GetParam().replacement)));
    EXPECT_FALSE(main->filesInDocument().contains(chap));
    EXPECT_EQ(PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("deeper.tex"))), deeper);
    EXPECT_EQ(deeper->content(), u"mine\n");
    EXPECT_TRUE(document->isDocumentEdited());

    // Undo gives back the same objects, edits and all; their counts follow the shared-files model below.
    main->contentBuffer()->undoManager()->undo();
    EXPECT_EQ(main->filesInDocument(), QList<std::shared_ptr<PLFile>>{chap});
    EXPECT_EQ(deeper->content(), u"mine\n");

    // Saved with the project while no include shows it, and given back when the project closes.
    main->contentBuffer()->undoManager()->redo();
    PLError error;
    ASSERT_TRUE(document->saveDocument(&error)) << error.message.toStdString();
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("deeper.tex"))), QByteArray("mine\n"));
    EXPECT_FALSE(document->isDocumentEdited());
    document->close();
    EXPECT_TRUE(PLFilePool::sharedFilePool().filesOpened().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Edits, EditedIncludedFile, ::testing::Values(
    DetachCase{"IncludeDeleted", 6, 12, u""},
    DetachCase{"IncludeCommentedOut", 6, 0, u"%"},
    DetachCase{"IncludeRetyped", 13, 4, u"other"}), byLabel);

struct RoundTripCase
{
    PLStringEncoding encoding;
    QByteArray bytes;
};

using SaveRoundTrip = DocumentCase<RoundTripCase>;

// Saving gave every untouched file a new date and wrote an empty version.tex for a missing
// \\input{version}, so build tools and version control saw changes that were not there. Every file
// goes back byte for byte in its encoding, and only a changed one is written.
TEST_P(SaveRoundTrip, WritesOnlyChangedFilesByteForByteInTheirEncoding)
{
    const QByteArray mainBytes = GetParam().bytes + "\r\n\\input{version}\\input{sub/chap}\r\n";
    const QByteArray chapBytes = "\\section{" + GetParam().bytes + "}\r\nText\r\n";
    write(QStringLiteral("main.tex"), mainBytes);
    write(QStringLiteral("sub/chap.tex"), chapBytes);
    QFile chapFile(path(QStringLiteral("sub/chap.tex")));
    const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1000000000);
    ASSERT_TRUE(chapFile.open(QIODevice::ReadWrite) && chapFile.setFileTime(longAgo, QFileDevice::FileModificationTime));
    chapFile.close();
    PLUserDefaults::standardUserDefaults().setInteger(GetParam().encoding, PLUserDefaultsFileEncoding);
    auto document = open(QStringLiteral("main.tex"));
    append(*document->mainFile(), QStringLiteral("%"));
    PLError error;
    ASSERT_TRUE(document->saveDocument(&error)) << error.message.toStdString();
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("main.tex"))), mainBytes + "%");
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("sub/chap.tex"))), chapBytes);
    EXPECT_EQ(modified(QStringLiteral("sub/chap.tex")), longAgo);
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("version.tex"))));

    // An edit in the included file is written there, in the same encoding, and nothing else moves.
    const auto chap = PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("sub/chap.tex")));
    ASSERT_TRUE(chap);
    append(*chap, QStringLiteral("x"));
    EXPECT_TRUE(document->isDocumentEdited());
    ASSERT_TRUE(document->saveDocument(&error)) << error.message.toStdString();
    EXPECT_FALSE(document->isDocumentEdited());
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("sub/chap.tex"))), chapBytes + "x");
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("main.tex"))), mainBytes + "%");
    EXPECT_TRUE(saveCopies().isEmpty());

    // Typing into the missing file is what brings it into being.
    const auto version = PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("version.tex")));
    ASSERT_TRUE(version);
    append(*version, QStringLiteral("1.0"));
    ASSERT_TRUE(document->saveDocument(&error)) << error.message.toStdString();
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("version.tex"))), QByteArray("1.0"));
}

INSTANTIATE_TEST_SUITE_P(Encodings, SaveRoundTrip,
                         ::testing::Values(RoundTripCase{4, QByteArray("Gr\xc3\xbc\xc3\x9f")},
                                           RoundTripCase{5, QByteArray("Gr\xfc\xdf")},
                                           RoundTripCase{9, QByteArray("\xa3\xf3" "d\xbc")}));

TEST_F(Document, SaveAsMovesToTheNewMainFileAndRemembersTheFolder)
{
    write(QStringLiteral("old.tex"), "\\section{Old}\n\\input{chap}\n");
    write(QStringLiteral("chap.tex"), "\\section{Chap}\n");
    QDir(m_dir.path()).mkdir(QStringLiteral("copies"));
    auto document = open(QStringLiteral("old.tex"));
    const auto oldMain = document->mainFile();
    // A save-as in one window gave back every window's hold on the old main file, so the pool
    // dropped it while another window still showed it.
    auto other = open(QStringLiteral("old.tex"));

    std::shared_ptr<PLFile> announcedOld, announcedNew;
    int observer = 0;
    PLNotificationCenter::defaultCenter().addObserver(&observer, PLDocumentDidPerformSaveAsAction, document.get(),
                                                      [&](const PLNotification &n) {
        announcedOld = n.userInfo().value(PLDocumentUserInfoKeyOldMainFile).value<std::shared_ptr<PLFile>>();
        announcedNew = n.userInfo().value(PLDocumentUserInfoKeyNewMainFile).value<std::shared_ptr<PLFile>>();
    });
    PLError error;
    ASSERT_TRUE(document->saveDocumentAs(path(QStringLiteral("copies/new.tex")), &error)) << error.message.toStdString();
    PLNotificationCenter::defaultCenter().removeObserver(&observer);

    EXPECT_EQ(announcedOld, oldMain);
    EXPECT_EQ(announcedNew, document->mainFile());
    EXPECT_EQ(document->mainFile()->stringPath(), path(QStringLiteral("copies/new.tex")));
    EXPECT_EQ(document->mainFile()->content(), u"\\section{Old}\n\\input{chap}\n");
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("copies/new.tex"))), QByteArray("\\section{Old}\n\\input{chap}\n"));
    EXPECT_EQ(PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("old.tex"))), other->mainFile());
    EXPECT_EQ(oldMain->openCount(), 1u);
    other->close();
    EXPECT_FALSE(PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("old.tex"))));
    EXPECT_EQ(PLUserDefaults::standardUserDefaults().stringForKey(PLUserDefaultsLastDirectorySaved),
              QUrl::fromLocalFile(path(QStringLiteral("copies"))).toString());
    EXPECT_EQ(document->displayName(), u"new.tex");
}

TEST_F(Document, FilesChangedOnDiskAreReloadedOnlyWhenUnedited)
{
    write(QStringLiteral("main.tex"), "\\input{a}\n\\input{b}\n");
    write(QStringLiteral("a.tex"), "old a\n");
    write(QStringLiteral("b.tex"), "old b\n");
    auto document = open(QStringLiteral("main.tex"));
    const auto a = PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("a.tex")));
    const auto b = PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("b.tex")));
    b->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("mine "));

    int reloads = 0;
    int observer = 0;
    PLNotificationCenter::defaultCenter().addObserver(&observer, PLNotificationFileDidReloadContent, nullptr,
                                                      [&](const PLNotification &) { ++reloads; });
    write(QStringLiteral("a.tex"), "new a\n");
    write(QStringLiteral("b.tex"), "new b\n");
    touchLater(QStringLiteral("a.tex"));
    touchLater(QStringLiteral("b.tex"));
    document->windowDidBecomeKey();
    PLNotificationCenter::defaultCenter().removeObserver(&observer);

    EXPECT_EQ(a->content(), u"new a\n");
    EXPECT_EQ(b->content(), u"mine old b\n");
    EXPECT_EQ(reloads, 1);

    // The main file changed too: reloaded, and the document's own date follows it.
    write(QStringLiteral("main.tex"), "\\input{a}\n\\input{b}\n% more\n");
    touchLater(QStringLiteral("main.tex"));
    document->windowDidBecomeKey();
    EXPECT_EQ(document->mainFile()->content(), u"\\input{a}\n\\input{b}\n% more\n");
    EXPECT_EQ(document->fileModificationDate(), QFileInfo(path(QStringLiteral("main.tex"))).lastModified());
}

struct ChangedOnDiskCase
{
    const char *label;
    // What another program leaves in chap.tex, which the project read as "old\n".
    QByteArray theirs;
    std::optional<PLDocumentWindowDelegate::ChangedFileAction> answer;
    bool asked;
    bool saved;
    QByteArray onDisk;
    const char *text;
};

using ChangedOnDisk = DocumentCase<ChangedOnDiskCase>;

// Saving wrote over what another editor had saved meanwhile. The window is asked first; without
// a window the save stops. A file only touched, its bytes the same, is not a change.
TEST_P(ChangedOnDisk, SavingAFileChangedByAnotherProgramAsksFirst)
{
    write(QStringLiteral("main.tex"), "\\input{chap}\n");
    write(QStringLiteral("chap.tex"), "old\n");
    std::optional<ChangedFileDelegate> delegate;
    auto document = open(QStringLiteral("main.tex"));
    const auto chap = document->mainFile()->filesInDocument().constFirst();
    chap->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("mine "));
    write(QStringLiteral("chap.tex"), GetParam().theirs);
    touchLater(QStringLiteral("chap.tex"));
    if (GetParam().answer) {
        delegate.emplace(*GetParam().answer);
        document->setWindowDelegate(&*delegate);
    }

    PLError error;
    EXPECT_EQ(document->saveDocument(&error), GetParam().saved) << error.message.toStdString();
    EXPECT_EQ(delegate ? delegate->asked : QStringList(),
              GetParam().asked ? QStringList{QStringLiteral("chap.tex")} : QStringList());
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("chap.tex"))), GetParam().onDisk);
    EXPECT_EQ(chap->content(), QString::fromUtf8(GetParam().text));
    EXPECT_EQ(document->isDocumentEdited(), !GetParam().saved);
    if (!GetParam().saved) {
        EXPECT_EQ(PLDocument::isSaveCancelled(error), bool(delegate));
        EXPECT_TRUE(delegate || error.message.contains(path(QStringLiteral("chap.tex"))));
    }
}

using Action = PLDocumentWindowDelegate::ChangedFileAction;
INSTANTIATE_TEST_SUITE_P(
    Answers, ChangedOnDisk,
    ::testing::Values(ChangedOnDiskCase{"Overwrite", "theirs\n", Action::Overwrite, true, true, "mine old\n", "mine old\n"},
                      ChangedOnDiskCase{"Reload", "theirs\n", Action::Reload, true, true, "theirs\n", "theirs\n"},
                      ChangedOnDiskCase{"Cancel", "theirs\n", Action::Cancel, true, false, "theirs\n", "mine old\n"},
                      ChangedOnDiskCase{"SameSizeCancel", "new\n", Action::Cancel, true, false, "new\n", "mine old\n"},
                      ChangedOnDiskCase{"NoWindow", "theirs\n", std::nullopt, false, false, "theirs\n", "mine old\n"},
                      ChangedOnDiskCase{"OnlyTouched", "old\n", Action::Cancel, false, true, "mine old\n", "mine old\n"}),
    byLabel);

// Saving made a private main file readable by everyone and replaced a symbolic link by a copy,
// so the link's target drifted away from what the user saved.
TEST_F(Document, SavingKeepsTheModeAndWritesThroughSymbolicLinks)
{
    write(QStringLiteral("real/main.tex"), "\\section{A}\n");
    ASSERT_TRUE(QFile::link(QStringLiteral("real/main.tex"), path(QStringLiteral("main.tex"))));
    for (const mode_t mode : {0600, 0640, 0751}) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(::chmod(QFile::encodeName(path(QStringLiteral("real/main.tex"))).constData(), mode), 0);
        auto document = open(QStringLiteral("main.tex"));
        append(*document->mainFile(), QStringLiteral("%"));
        PLError error;
        ASSERT_TRUE(document->saveDocument(&error)) << error.message.toStdString();
        document->close();
        EXPECT_TRUE(QFileInfo(path(QStringLiteral("main.tex"))).isSymLink());
        struct stat info;
        ASSERT_EQ(::stat(QFile::encodeName(path(QStringLiteral("real/main.tex"))).constData(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, mode);
    }
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("real/main.tex"))), QByteArray("\\section{A}\n%%%"));
    EXPECT_TRUE(saveCopies().isEmpty());
}

// A save-as that failed (an encoding that cannot hold the text, a full disk) left the file it
// was to replace empty. The target changes only once the new bytes are complete, and a save that
// cannot complete leaves the old file whole and reports why.
TEST_F(Document, AFailedSaveAsLeavesTheFileItWasToReplace)
{
    write(QStringLiteral("main.tex"), "draft\n");
    write(QStringLiteral("precious.tex"), "precious\n");
    PLUserDefaults::standardUserDefaults().setInteger(PLStringEncodings::ISOLatin1, PLUserDefaultsFileEncoding);
    auto document = open(QStringLiteral("main.tex"));
    append(*document->mainFile(), QStringLiteral("\u20ac"));
    PLError error;
    EXPECT_FALSE(document->saveDocumentAs(path(QStringLiteral("precious.tex")), &error));
    EXPECT_TRUE(error.message.contains(QStringLiteral("precious.tex")));

    // Text the encoding holds, and a folder or an impossible path as the target.
    document->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{0, document->mainFile()->content().size()},
                                                                   QString(4096, u'x'));
    QDir(m_dir.path()).mkdir(QStringLiteral("taken.tex"));
    EXPECT_FALSE(document->saveDocumentAs(path(QStringLiteral("taken.tex")), &error));
    for (const QString &target : {QStringLiteral("/proc/self/plumeo-cannot-write.tex"),     // takes no files
                                  path(QStringLiteral("main.tex/inside.tex")),              // under a file
                                  path(QStringLiteral("missing-folder/deeper/new.tex"))}) { // no such folder
        PLError tmpError;
        EXPECT_FALSE(document->mainFile()->saveUsingTmpPath(target, &tmpError)) << target.toStdString();
        EXPECT_FALSE(tmpError.message.isEmpty());
    }
    // A disk that fills up half way: the process may not write more than a few bytes.
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit previousLimit;
    ::getrlimit(RLIMIT_FSIZE, &previousLimit);
    rlimit limit = previousLimit;
    limit.rlim_cur = 100;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    const bool saved = document->saveDocumentAs(path(QStringLiteral("precious.tex")), &error);
    ::setrlimit(RLIMIT_FSIZE, &previousLimit);
    std::signal(SIGXFSZ, previousHandler);
    EXPECT_FALSE(saved);

    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("precious.tex"))), QByteArray("precious\n"));
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("main.tex"))), QByteArray("draft\n"));
    EXPECT_EQ(document->mainFile()->stringPath(), path(QStringLiteral("main.tex")));
    EXPECT_TRUE(document->isDocumentEdited());
    EXPECT_TRUE(saveCopies().isEmpty());
}

// Makes a folder refuse new files while it lives. Permissions do not stop a privileged user; the
// immutable attribute does.
class ReadOnlyFolder
{
public:
    explicit ReadOnlyFolder(const QString &path)
        : m_path(QFile::encodeName(path)), m_fd(::open(m_path.constData(), O_RDONLY | O_DIRECTORY))
    {
        ::chmod(m_path.constData(), 0555);
        if (::geteuid() == 0 && ::ioctl(m_fd, FS_IOC_GETFLAGS, &m_flags) == 0) {
            int flags = m_flags | FS_IMMUTABLE_FL;
            m_immutable = ::ioctl(m_fd, FS_IOC_SETFLAGS, &flags) == 0;
        }
    }
    ~ReadOnlyFolder()
    {
        if (m_immutable)
            ::ioctl(m_fd, FS_IOC_SETFLAGS, &m_flags);
        ::close(m_fd);
        ::chmod(m_path.constData(), 0755);
    }
    bool isReadOnly() const { return ::geteuid() != 0 || m_immutable; }

private:
    QByteArray m_path;
    int m_fd;
    int m_flags = 0;
    bool m_immutable = false;
};

// A save into a folder that takes no new files named its hidden copy in the alert.
TEST_F(Document, AFailedSaveNamesTheUsersFile)
{
    write(QStringLiteral("locked/main.tex"), "text\n");
    auto document = open(QStringLiteral("locked/main.tex"));
    append(*document->mainFile(), QStringLiteral("more"));
    PLError error;
    bool saved = false;
    {
        const ReadOnlyFolder locked(path(QStringLiteral("locked")));
        if (!locked.isReadOnly())
            GTEST_SKIP() << "no way to make a folder read-only for this user";
        saved = document->saveDocument(&error);
    }
    EXPECT_FALSE(saved);
    EXPECT_TRUE(error.message.contains(path(QStringLiteral("locked/main.tex")))) << error.message.toStdString();
    EXPECT_FALSE(error.message.contains(QStringLiteral("plumeo-save"))) << error.message.toStdString();
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("locked/main.tex"))), QByteArray("text\n"));
}

// Killed saves left full-size hidden copies behind for good. Opening or saving the project
// removes those of its own files whose writer is gone, and nothing else.
TEST_F(Document, StaleSaveCopiesOfProjectFilesAreRemoved)
{
    write(QStringLiteral("main.tex"), "\\input{chap}\n");
    write(QStringLiteral("chap.tex"), "chap\n");
    QProcess finished;
    finished.start(QStringLiteral("true"), QStringList());
    ASSERT_TRUE(finished.waitForStarted());
    const QString dead = QString::number(finished.processId());
    ASSERT_TRUE(finished.waitForFinished());
    const QString live = QString::number(::getpid());
    const QStringList stale{QStringLiteral(".main.tex.plumeo-save-%1-abc").arg(dead),
                            QStringLiteral(".chap.tex.plumeo-save-%1-x1").arg(dead)};
    const QStringList kept{QStringLiteral(".main.tex.plumeo-save-%1-abc").arg(live),     // a save still running
                           QStringLiteral(".other.tex.plumeo-save-%1-abc").arg(dead),    // not a file of the project
                           QStringLiteral(".main.tex.plumeo-saved-%1-abc").arg(dead),    // not our name
                           QStringLiteral("main.tex.plumeo-save-%1-abc").arg(dead)};
    for (const QString &name : stale + kept)
        write(name, "copy");
    auto document = open(QStringLiteral("main.tex"));
    for (const QString &name : stale)
        EXPECT_FALSE(QFileInfo::exists(path(name))) << name.toStdString();
    for (const QString &name : kept)
        EXPECT_TRUE(QFileInfo::exists(path(name))) << name.toStdString();

    write(stale.constFirst(), "copy");
    append(*document->mainFile(), QStringLiteral("%"));
    ASSERT_TRUE(document->saveDocument());
    EXPECT_FALSE(QFileInfo::exists(path(stale.constFirst())));
}

TEST_F(Document, RemovingByProductsKeepsThePdf)
{
    write(QStringLiteral("main.tex"), "\\input{chap}\n");
    write(QStringLiteral("chap.tex"), "x\n");
    QStringList byProducts{QStringLiteral("chap.aux")};
    for (const char *suffix : {".aux", ".bbl", ".blg", ".exa", ".idx", ".lof", ".log", ".lot", ".out", ".toc", ".synctex.gz"})
        byProducts.append(QStringLiteral("main") + QLatin1String(suffix));
    for (const QString &name : byProducts)
        write(name, "x");
    write(QStringLiteral("main.tex.bak"), "x");
    write(QStringLiteral("main.pdf"), "%PDF");
    write(QStringLiteral("main.bib"), "@x");
    auto document = open(QStringLiteral("main.tex"));
    EXPECT_EQ(document->removeTypesettingRelatedFiles(), byProducts.size());
    EXPECT_EQ(document->removeTypesettingRelatedFiles(), 0);
    for (const QString &name : byProducts)
        EXPECT_FALSE(QFile::exists(path(name))) << name.toStdString();
    EXPECT_TRUE(QFile::exists(path(QStringLiteral("main.pdf"))));
    EXPECT_TRUE(QFile::exists(path(QStringLiteral("main.bib"))));
    EXPECT_TRUE(QFile::exists(path(QStringLiteral("main.tex.bak"))));
}

TEST_F(Document, AKilledSaveLeavesEitherTheOldOrTheNewFile)
{
    write(QStringLiteral("big.tex"), QByteArray(1024, 'o'));
    const QByteArray a(2 * 1024 * 1024, 'a');
    const QByteArray b(3 * 1024 * 1024, 'b');
    for (int round = 0; round < 6; ++round) {
        QProcess saver;
        saver.start(QStringLiteral(PLUMEO_SAVE_LOOP_PATH), {path(QStringLiteral("big.tex"))});
        ASSERT_TRUE(saver.waitForStarted());
        // Let it complete a different number of saves each round, then kill it mid-write.
        while (saver.bytesAvailable() < round + 1)
            ASSERT_TRUE(saver.waitForReadyRead(30000));
        saver.kill();
        saver.waitForFinished();
        const QByteArray onDisk = PLTest::readFile(path(QStringLiteral("big.tex")));
        EXPECT_TRUE(onDisk == a || onDisk == b || onDisk == QByteArray(1024, 'o')) << "round " << round << ", "
                                                                                      << onDisk.size() << " bytes";
    }
    // The copies the killed saves were writing go when the project is next opened.
    open(QStringLiteral("big.tex"));
    EXPECT_TRUE(saveCopies().isEmpty()) << saveCopies().join(u' ').toStdString();
}

// Random sequences of opening, closing and reloading projects that share files, of edits that take
// away or add includes, and of undo, each followed by a check of the pool against a model that
// knows only the files' texts, which of them have unsaved changes, and which files an includer keeps
// for their unsaved changes after their include went away.
class SharedFilesSequences : public Document
{
protected:
    static constexpr int kBibliography = 6;

    static QString fileName(int file)
    {
        return file == kBibliography ? QStringLiteral("refs.bib") : QStringLiteral("f%1.tex").arg(file);
    }

    // Includes point to later files only, so no sequence makes a loop.
    QString randomText(int file)
    {
        if (file == kBibliography)
            return QStringLiteral("refs\n");
        QString text = QStringLiteral("text %1\n").arg(file);
        for (int later = file + 1; later < kBibliography; ++later) {
            if (chance(40))
                text += QStringLiteral("\\input{f%1}\n").arg(later);
        }
        if (chance(30))
            text += QStringLiteral("\\bibliography{refs}\n");
        return text;
    }

    bool chance(int percent) { return int(m_random() % 100) < percent; }
    int pick(int count) { return int(m_random() % unsigned(count)); }

    std::shared_ptr<PLFile> live(int file) const { return m_pool.fileForPath(path(fileName(file))); }
    QString text(int file) const
    {
        const auto object = live(file);
        return object ? object->content() : QString::fromUtf8(PLTest::readFile(path(fileName(file))));
    }

    // How often a fresh parse of the file's text opens each file: an include once however often it
    // is named, a bibliography every time.
    std::map<int, int> openings(int file) const
    {
        std::map<int, int> opened;
        for (const QString &line : text(file).split(u'\n')) {
            if (line == u"\\bibliography{refs}")
                ++opened[kBibliography];
            else if (line.startsWith(u"\\input{f"))
                opened[line.mid(8, 1).toInt()] = 1;
        }
        return opened;
    }

    std::set<int> heldBy(int file) const
    {
        std::set<int> held = m_kept.count(file) ? m_kept.at(file) : std::set<int>();
        for (const auto &[target, count] : openings(file))
            held.insert(target);
        return held;
    }

    std::set<int> reachedFrom(std::vector<int> pending) const
    {
        std::set<int> reached;
        while (!pending.empty()) {
            const int file = pending.back();
            pending.pop_back();
            if (!reached.insert(file).second)
                continue;
            for (int next : heldBy(file))
                pending.push_back(next);
        }
        return reached;
    }

    std::set<int> liveFiles() const
    {
        std::vector<int> mains;
        for (const auto &[document, main] : m_documents)
            mains.push_back(main);
        return reachedFrom(mains);
    }

    // An edit, undo or reload of one file: what it stopped including with unsaved changes below is kept.
    void changeText(int file, const std::function<void()> &change)
    {
        const auto before = openings(file);
        std::set<int> unsaved;
        for (const auto &[target, count] : before) {
            const auto below = reachedFrom({target});
            if (std::any_of(below.begin(), below.end(), [&](int f) { return live(f)->hasUnsavedChanges(); }))
                unsaved.insert(target);
        }
        change();
        const auto after = openings(file);
        for (int target : unsaved) {
            if (!after.count(target))
                m_kept[file].insert(target);
        }
        for (const auto &[target, count] : after)
            m_kept[file].erase(target);
    }

    std::string mismatch()
    {
        const std::set<int> files = liveFiles();
        for (auto it = m_kept.begin(); it != m_kept.end();)
            it = files.count(it->first) ? std::next(it) : m_kept.erase(it);
        std::map<int, quint32> counts;
        for (const auto &[document, main] : m_documents)
            ++counts[main];
        for (int file : files) {
            for (const auto &[target, count] : openings(file))
                counts[target] += count;
            for (int target : m_kept[file])
                ++counts[target];
        }
        if (m_pool.filesOpened().size() != qsizetype(files.size()))
            return "pool holds " + std::to_string(m_pool.filesOpened().size()) + " files, expected " + std::to_string(files.size());
        for (int file : files) {
            const auto object = live(file);
            if (!object)
                return fileName(file).toStdString() + " missing from the pool";
            if (object->openCount() != counts[file])
                return fileName(file).toStdString() + " open " + std::to_string(object->openCount()) + " times, expected "
                    + std::to_string(counts[file]);
            for (const auto &included : object->filesInDocument()) {
                if (m_pool.fileForPath(included->stringPath()) != included)
                    return fileName(file).toStdString() + " includes an object the pool does not hold";
            }
        }
        return {};
    }

    // One random step; answers what it did.
    std::string step()
    {
        const std::set<int> files = liveFiles();
        const std::vector<int> candidates(files.begin(), files.end());
        const int file = candidates.empty() ? 0 : candidates[pick(int(candidates.size()))];
        const auto object = live(file);
        const QString content = object ? object->content() : QString();
        switch (m_documents.empty() ? 0 : pick(7)) {
        case 0:
            if (m_documents.size() < 3) {
                const int main = pick(kBibliography);
                m_documents.emplace_back(open(fileName(main)), main);
                return "open " + fileName(main).toStdString();
            }
            [[fallthrough]];
        case 1:
            if (!m_documents.empty()) {
                const auto closed = m_documents.begin() + pick(int(m_documents.size()));
                closed->first->close();
                const int main = closed->second;
                m_documents.erase(closed);
                return "close " + fileName(main).toStdString();
            }
            return "nothing to close";
        case 2:
            if (!object || object->hasUnsavedChanges() || file == kBibliography)
                return "no reload";
            changeText(file, [&] {
                PLTest::writeFile(path(fileName(file)), randomText(file).toUtf8());
                object->reloadContent();
            });
            return "reload " + fileName(file).toStdString();
        case 3: {
            qsizetype start = content.indexOf(u'\n') + 1;
            std::vector<PLRange> includeLines;
            for (qsizetype end; start > 0 && (end = content.indexOf(u'\n', start)) >= 0; start = end + 1) {
                if (content[start] == u'\\')
                    includeLines.push_back(PLRange{start, end + 1 - start});
            }
            if (includeLines.empty())
                return "no include to take away";
            const PLRange line = includeLines[pick(int(includeLines.size()))];
            const bool comment = chance(50);
            changeText(file, [&] {
                object->replaceContentStringInRange(comment ? PLRange{line.location, 0} : line, comment ? QStringLiteral("%") : QString());
            });
            return (comment ? "comment out " : "delete ") + content.mid(line.location, line.length - 1).toStdString() + " in "
                + fileName(file).toStdString();
        }
        case 4: {
            if (!object || file >= kBibliography - 1)
                return "no include to add";
            const QString line = chance(25) ? QStringLiteral("\\bibliography{refs}\n")
                                            : QStringLiteral("\\input{f%1}\n").arg(file + 1 + pick(kBibliography - 1 - file));
            std::vector<qsizetype> lineStarts;
            for (qsizetype at = content.indexOf(u'\n'); at >= 0; at = content.indexOf(u'\n', at + 1))
                lineStarts.push_back(at + 1);
            const qsizetype at = lineStarts[pick(int(lineStarts.size()))];
            changeText(file, [&] { object->replaceContentStringInRange(PLRange{at, 0}, line); });
            return "add " + line.trimmed().toStdString() + " to " + fileName(file).toStdString();
        }
        case 5:
            if (!object)
                return "nothing to type in";
            changeText(file, [&] { object->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("x")); });
            return "type in " + fileName(file).toStdString();
        default:
            if (!object || !object->contentBuffer()->undoManager()->canUndo())
                return "nothing to undo";
            changeText(file, [&] { object->contentBuffer()->undoManager()->undo(); });
            return "undo in " + fileName(file).toStdString();
        }
    }

    PLFilePool m_pool;
    std::mt19937 m_random;
    std::vector<std::pair<std::unique_ptr<PLDocument>, int>> m_documents;
    std::map<int, std::set<int>> m_kept;
};

TEST_F(SharedFilesSequences, PoolAndOpenCountsFollowTheModelAfterEveryStep)
{
    for (unsigned seed = 1; seed <= 12; ++seed) {
        m_random.seed(seed);
        for (int file = 0; file <= kBibliography; ++file)
            PLTest::writeFile(path(fileName(file)), randomText(file).toUtf8());
        std::string history;
        for (int steps = 0; steps < 60; ++steps) {
            history += step() + "; ";
            const std::string problem = mismatch();
            ASSERT_EQ(problem, "") << "seed " << seed << ": " << history;
        }
        m_documents.clear();
        ASSERT_TRUE(m_pool.filesOpened().isEmpty()) << "seed " << seed;
        m_kept.clear();
    }
}

}
