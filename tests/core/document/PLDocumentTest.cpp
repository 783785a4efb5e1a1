#include "PLDictionaryKeys.h"
#include "PLDocument.h"
#include "PLDocumentWindowDelegate.h"
#include "PLFile.h"
#include "PLFilePool.h"
#include "PLNotificationCenter.h"
#include "PLNotificationNameConstants.h"
#include "PLOutlineNode.h"
#include "PLQuickOpenManager.h"
#include "PLTestSupport.h"
#include "PLTextContentBuffer.h"
#include "PLUserDefaults.h"
#include "PLUserDefaultsConstants.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QUndoStack>

#include <gtest/gtest.h>

#include <csignal>

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

TEST_F(Document, TwoDocumentsOnOneRootShareItsFileObject)
{
    write(QStringLiteral("main.tex"), "\\section{A}\n\\input{chap}\n");
    write(QStringLiteral("chap.tex"), "\\section{B}\n");
    auto first = open(QStringLiteral("main.tex"));
    auto second = open(QStringLiteral("main.tex"));
    ASSERT_EQ(first->mainFile(), second->mainFile());
    EXPECT_EQ(first->mainFile()->openCount(), 2u);

    first->close();
    EXPECT_EQ(PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("main.tex"))), second->mainFile());
    EXPECT_EQ(second->mainFile()->content(), u"\\section{A}\n\\input{chap}\n");
    ASSERT_EQ(second->filesInDocument().size(), 2);
    EXPECT_EQ(second->filesInDocument().at(1)->content(), u"\\section{B}\n");

    second->close();
    EXPECT_FALSE(PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("main.tex"))));
    EXPECT_FALSE(PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("chap.tex"))));
}

TEST_F(Document, ReadsInTheConfiguredEncodingAndFallsBackToUtf8WhenUnset)
{
    write(QStringLiteral("latin.tex"), "Gr\xfc\xdf\n");
    PLUserDefaults::standardUserDefaults().setInteger(5, PLUserDefaultsFileEncoding);
    auto latin = open(QStringLiteral("latin.tex"));
    EXPECT_EQ(latin->mainFile()->encoding(), 5u);
    EXPECT_TRUE(latin->mainFile()->wasContentReadProperly());
    EXPECT_EQ(latin->mainFile()->content(), QString::fromUtf16(u"Grüß\n"));
    latin->close();

    PLUserDefaults::standardUserDefaults().removeObjectForKey(PLUserDefaultsFileEncoding);
    auto fallback = open(QStringLiteral("latin.tex"));
    EXPECT_EQ(fallback->mainFile()->encoding(), 4u);
    EXPECT_FALSE(fallback->mainFile()->wasContentReadProperly());
}

TEST_F(Document, FilesInDocumentListsEveryFileOnceEvenWithCycles)
{
    write(QStringLiteral("a.tex"), "\\input{b}\n\\input{c}\n\\bibliography{refs,refs}\n");
    write(QStringLiteral("b.tex"), "\\input{c}\n\\input{a}\n");
    write(QStringLiteral("c.tex"), "\\section{C}\n\\input{b}\n");
    write(QStringLiteral("refs.bib"), "@book{k, title={T}}\n");
    auto document = open(QStringLiteral("a.tex"));
    QStringList names;
    for (const auto &file : document->filesInDocument())
        names << file->name();
    names.sort();
    EXPECT_EQ(names, (QStringList{QStringLiteral("a.tex"), QStringLiteral("b.tex"), QStringLiteral("c.tex"),
                                  QStringLiteral("refs.bib")}));
}

struct RoundTripCase
{
    PLStringEncoding encoding;
    QByteArray bytes;
};

class SaveRoundTrip : public Document, public ::testing::WithParamInterface<RoundTripCase>
{
};

TEST_P(SaveRoundTrip, WritesEveryFileBackByteForByteInItsEncoding)
{
    const QByteArray mainBytes = GetParam().bytes + "\r\n\\input{sub/chap}\r\n";
    const QByteArray chapBytes = "\\section{" + GetParam().bytes + "}\r\nText\r\n";
    write(QStringLiteral("main.tex"), mainBytes);
    write(QStringLiteral("sub/chap.tex"), chapBytes);
    PLUserDefaults::standardUserDefaults().setInteger(GetParam().encoding, PLUserDefaultsFileEncoding);
    auto document = open(QStringLiteral("main.tex"));
    PLError error;
    ASSERT_TRUE(document->saveDocument(&error)) << error.message.toStdString();
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("main.tex"))), mainBytes);
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("sub/chap.tex"))), chapBytes);

    // An edit in the included file is written there, in the same encoding, and nothing else moves.
    const auto chap = PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("sub/chap.tex")));
    ASSERT_TRUE(chap);
    chap->contentBuffer()->replaceCharactersInRange(PLRange{chap->content().size(), 0}, QStringLiteral("x"));
    EXPECT_TRUE(document->isDocumentEdited());
    ASSERT_TRUE(document->saveDocument(&error)) << error.message.toStdString();
    EXPECT_FALSE(document->isDocumentEdited());
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("sub/chap.tex"))), chapBytes + "x");
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("main.tex"))), mainBytes);
    EXPECT_TRUE(saveCopies().isEmpty());
}

// Saving wrote an empty version.tex for a missing \\input{version} and gave every untouched file a
// new date, so build tools and version control saw changes that were not there.
TEST_F(Document, SavingWritesOnlyChangedFilesAndCreatesNone)
{
    write(QStringLiteral("book.tex"), "\\input{version}\n\\input{chap}\n");
    write(QStringLiteral("chap.tex"), "Chapter\n");
    QFile chap(path(QStringLiteral("chap.tex")));
    ASSERT_TRUE(chap.open(QIODevice::ReadWrite));
    const QDateTime long_ago = QDateTime::fromSecsSinceEpoch(1000000000);
    ASSERT_TRUE(chap.setFileTime(long_ago, QFileDevice::FileModificationTime));
    chap.close();
    auto document = open(QStringLiteral("book.tex"));
    ASSERT_TRUE(document->saveDocument());
    append(*document->mainFile(), QStringLiteral("% edited\n"));
    PLError error;
    ASSERT_TRUE(document->saveDocument(&error)) << error.message.toStdString();

    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("book.tex"))), QByteArray("\\input{version}\n\\input{chap}\n% edited\n"));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("version.tex"))));
    EXPECT_EQ(modified(QStringLiteral("chap.tex")), long_ago);

    // Typing into the missing file is what brings it into being.
    const auto version = PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("version.tex")));
    ASSERT_TRUE(version);
    append(*version, QStringLiteral("1.0"));
    ASSERT_TRUE(document->saveDocument(&error)) << error.message.toStdString();
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("version.tex"))), QByteArray("1.0"));
    EXPECT_EQ(modified(QStringLiteral("chap.tex")), long_ago);
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
    EXPECT_FALSE(PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("old.tex"))));
    EXPECT_EQ(PLUserDefaults::standardUserDefaults().stringForKey(PLUserDefaultsLastDirectorySaved),
              QUrl::fromLocalFile(path(QStringLiteral("copies"))).toString());
    EXPECT_EQ(document->displayName(), u"new.tex");
    EXPECT_FALSE(document->hasSavePanel());
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
    const char *name;
    // What another program leaves in chap.tex, which the project read as "old\n".
    QByteArray theirs;
    std::optional<PLDocumentWindowDelegate::ChangedFileAction> answer;
    bool asked;
    bool saved;
    QByteArray onDisk;
    const char *text;
};

void PrintTo(const ChangedOnDiskCase &c, std::ostream *os)
{
    *os << c.name;
}

class ChangedOnDisk : public Document, public ::testing::WithParamInterface<ChangedOnDiskCase>
{
};

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
    [](const auto &info) { return std::string(info.param.name); });

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
// was to replace empty. The target changes only once the new bytes are complete.
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

    // A disk that fills up half way: the process may not write more than a few bytes.
    document->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{0, document->mainFile()->content().size()},
                                                                   QString(4096, u'x'));
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
    const QStringList byProducts{QStringLiteral("main.aux"), QStringLiteral("main.log"), QStringLiteral("main.toc"),
                                 QStringLiteral("main.synctex.gz"), QStringLiteral("chap.aux")};
    for (const QString &name : byProducts)
        write(name, "x");
    write(QStringLiteral("main.pdf"), "%PDF");
    write(QStringLiteral("main.bib"), "@x");
    auto document = open(QStringLiteral("main.tex"));
    document->removeTypesettingRelatedFiles();
    for (const QString &name : byProducts)
        EXPECT_FALSE(QFile::exists(path(name))) << name.toStdString();
    EXPECT_TRUE(QFile::exists(path(QStringLiteral("main.pdf"))));
    EXPECT_TRUE(QFile::exists(path(QStringLiteral("main.bib"))));
}

TEST_F(Document, QuickOpenFindsFilesAndHeadingsOnceInNameOrder)
{
    write(QStringLiteral("main.tex"), "\\section{second}\n\\input{shared}\n\\input{other}\n");
    write(QStringLiteral("other.tex"), "\\section{Section in other}\n\\input{shared}\n");
    write(QStringLiteral("shared.tex"), "\\subsection{SECret}\ntext with sec\n");
    auto document = open(QStringLiteral("main.tex"));
    QStringList names;
    for (const auto &node : document->quickOpenManager()->searchForString(QStringLiteral("sec")))
        names << node->name();
    EXPECT_EQ(names, (QStringList{QStringLiteral("SECret"), QStringLiteral("Section in other"), QStringLiteral("second")}));
    EXPECT_EQ(document->quickOpenManager()->searchForString(QStringLiteral("tex")).size(), 3);
    EXPECT_EQ(document->quickOpenManager()->searchForString(QString()).size(), 6);
}

// A save that cannot complete leaves the old file whole and reports why.
TEST_F(Document, FailedSavesLeaveTheOldContent)
{
    write(QStringLiteral("main.tex"), "original\n");
    auto document = open(QStringLiteral("main.tex"));
    document->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("edited "));

    const QStringList impossibleTargets{
        QStringLiteral("/proc/self/plumeo-cannot-write.tex"),             // a file system that takes no files
        path(QStringLiteral("main.tex/inside.tex")),                      // a path under a file
        path(QStringLiteral("missing-folder/deeper/new.tex")),            // a folder that does not exist
    };
    for (const QString &target : impossibleTargets) {
        PLError error;
        EXPECT_FALSE(document->mainFile()->saveUsingTmpPath(target, &error)) << target.toStdString();
        EXPECT_FALSE(error.message.isEmpty());
    }
    QDir(m_dir.path()).mkdir(QStringLiteral("taken.tex"));
    PLError error;
    EXPECT_FALSE(document->saveDocumentAs(path(QStringLiteral("taken.tex")), &error));
    EXPECT_EQ(PLTest::readFile(path(QStringLiteral("main.tex"))), QByteArray("original\n"));
    EXPECT_EQ(document->mainFile()->stringPath(), path(QStringLiteral("main.tex")));
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

}
