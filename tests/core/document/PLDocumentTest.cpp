#include "core/document/PLDocument.h"
#include "core/document/PLDocumentWindowDelegate.h"
#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
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

QString str(const char *text)
{
    return QString::fromUtf8(text);
}

class Document : public ::testing::Test
{
protected:
    void SetUp() override
    {
        PLTest::resetSettings();
        ASSERT_TRUE(m_dir.isValid());
    }
    QString path(QAnyStringView relative) const { return QDir(m_dir.path()).filePath(relative.toString()); }
    void write(QAnyStringView relative, const QByteArray &bytes) const { PLTest::writeFile(path(relative), bytes); }
    void write(std::initializer_list<std::pair<const char *, const char *>> files) const
    {
        for (const auto &[relative, text] : files)
            write(relative, text);
    }
    QByteArray read(QAnyStringView relative) const { return PLTest::readFile(path(relative)); }
    std::shared_ptr<PLFile> pooled(QAnyStringView relative) const { return PLFilePool::sharedFilePool().fileForPath(path(relative)); }
    std::unique_ptr<PLDocument> open(QAnyStringView relative)
    {
        auto document = std::make_unique<PLDocument>();
        PLError error;
        EXPECT_TRUE(document->readFromURL(path(relative), QStringLiteral("tex"), &error)) << error.message.toStdString();
        return document;
    }
    static bool save(PLDocument &document)
    {
        PLError error;
        const bool saved = document.saveDocument(&error);
        EXPECT_TRUE(saved) << error.message.toStdString();
        return saved;
    }
    // Moves a file's modification time so change detection sees it, whatever the clock's resolution.
    void touchLater(QAnyStringView relative) const
    {
        QFile file(path(relative));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.setFileTime(QFileInfo(file).lastModified().addSecs(5), QFileDevice::FileModificationTime));
    }
    QStringList saveCopies() const
    {
        return QDir(m_dir.path()).entryList(QStringList{QStringLiteral(".*plumeo-save*")}, QDir::Hidden | QDir::Files);
    }
    static void append(PLFile &file, const char *text)
    {
        file.contentBuffer()->replaceCharactersInRange(PLRange{file.content().size(), 0}, str(text));
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

// Taking away the include of a file with unsaved edits closed it, so its edits were gone and undo
// read it again from disk.
TEST_F(Document, AnEditedIncludedFileOutlivesItsIncludeWithItsEdits)
{
    for (const auto &[location, length, replacement] : {std::tuple{6, 12, ""}, {6, 0, "%"}, {13, 4, "other"}}) {
        SCOPED_TRACE(replacement);
        write({{"main.tex", "intro\n\\input{chap}\nend\n"}, {"chap.tex", "\\input{deeper}\n"}, {"deeper.tex", "disk\n"}});
        auto document = open("main.tex");
        const auto main = document->mainFile();
        const auto chap = pooled("chap.tex");
        const auto deeper = pooled("deeper.tex");
        ASSERT_TRUE(chap && deeper);
        deeper->replaceContentStringInRange(PLRange{0, 4}, QStringLiteral("mine"));
        ASSERT_TRUE(main->replaceContentStringInRange(PLRange{location, length}, str(replacement)));
        EXPECT_EQ(std::tuple(main->filesInDocument().contains(chap), pooled("deeper.tex"), deeper->content(), document->isDocumentEdited()),
                  std::tuple(false, deeper, QStringLiteral("mine\n"), true));
        // Undo gives back the same objects, edits and all; their counts follow the shared-files model below.
        main->contentBuffer()->undoManager()->undo();
        EXPECT_EQ(main->filesInDocument(), QList<std::shared_ptr<PLFile>>{chap});
        EXPECT_EQ(deeper->content(), u"mine\n");
        // Saved with the project while no include shows it, and given back when the project closes.
        main->contentBuffer()->undoManager()->redo();
        ASSERT_TRUE(save(*document));
        EXPECT_EQ(std::pair(read("deeper.tex"), document->isDocumentEdited()), std::pair(QByteArray("mine\n"), false));
        document->close();
        EXPECT_TRUE(PLFilePool::sharedFilePool().filesOpened().isEmpty());
    }
}

// Saving gave every untouched file a new date and wrote an empty version.tex for a missing
// \\input{version}, so build tools and version control saw changes that were not there. Every file
// goes back byte for byte in its encoding, and only a changed one is written.
TEST_F(Document, SavingWritesOnlyChangedFilesByteForByteInTheirEncoding)
{
    for (const auto &[encoding, bytes] : {std::pair<PLStringEncoding, QByteArray>{4, "Gr\xc3\xbc\xc3\x9f"}, {5, "Gr\xfc\xdf"},
                                          {9, "\xa3\xf3" "d\xbc"}}) {
        SCOPED_TRACE(encoding);
        for (const char *stale : {"main.tex", "sub/chap.tex", "version.tex"})
            QFile::remove(path(stale));
        const QByteArray mainBytes = bytes + "\r\n\\input{version}\\input{sub/chap}\r\n";
        const QByteArray chapBytes = "\\section{" + bytes + "}\r\nText\r\n";
        write("main.tex", mainBytes);
        write("sub/chap.tex", chapBytes);
        QFile chapFile(path("sub/chap.tex"));
        const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1000000000);
        ASSERT_TRUE(chapFile.open(QIODevice::ReadWrite) && chapFile.setFileTime(longAgo, QFileDevice::FileModificationTime));
        chapFile.close();
        PLUserDefaults::standardUserDefaults().setInteger(encoding, PLUserDefaultsFileEncoding);
        auto document = open("main.tex");
        append(*document->mainFile(), "%");
        ASSERT_TRUE(save(*document));
        const QByteArray savedMain = mainBytes + "%";
        EXPECT_EQ(std::tuple(read("main.tex"), read("sub/chap.tex"), QFileInfo(path("sub/chap.tex")).lastModified()),
                  std::tuple(savedMain, chapBytes, longAgo));
        EXPECT_FALSE(QFileInfo::exists(path("version.tex")));
        // An edit in the included file is written there, in the same encoding, and nothing else moves.
        const auto chap = pooled("sub/chap.tex");
        ASSERT_TRUE(chap);
        append(*chap, "x");
        EXPECT_TRUE(document->isDocumentEdited());
        ASSERT_TRUE(save(*document));
        EXPECT_EQ(std::tuple(document->isDocumentEdited(), read("sub/chap.tex"), read("main.tex"), saveCopies()),
                  std::tuple(false, QByteArray(chapBytes + "x"), savedMain, QStringList()));
        // Typing into the missing file is what brings it into being.
        const auto version = pooled("version.tex");
        ASSERT_TRUE(version);
        append(*version, "1.0");
        ASSERT_TRUE(save(*document));
        EXPECT_EQ(read("version.tex"), QByteArray("1.0"));
    }
}

TEST_F(Document, SaveAsMovesToTheNewMainFileAndRemembersTheFolder)
{
    write({{"old.tex", "\\section{Old}\n\\input{chap}\n"}, {"chap.tex", "\\section{Chap}\n"}});
    QDir(m_dir.path()).mkdir(QStringLiteral("copies"));
    auto document = open("old.tex");
    const auto oldMain = document->mainFile();
    // A save-as in one window gave back every window's hold on the old main file, so the pool
    // dropped it while another window still showed it.
    auto other = open("old.tex");
    PLError error;
    ASSERT_TRUE(document->saveDocumentAs(path("copies/new.tex"), &error)) << error.message.toStdString();
    const QString text = QStringLiteral("\\section{Old}\n\\input{chap}\n");
    EXPECT_EQ(std::tuple(document->mainFile()->stringPath(), document->mainFile()->content(), read("copies/new.tex")),
              std::tuple(path("copies/new.tex"), text, text.toUtf8()));
    EXPECT_EQ(std::pair(pooled("old.tex"), oldMain->openCount()), std::pair(other->mainFile(), 1u));
    other->close();
    EXPECT_FALSE(pooled("old.tex"));
    EXPECT_EQ(PLUserDefaults::standardUserDefaults().stringForKey(PLUserDefaultsLastDirectorySaved),
              QUrl::fromLocalFile(path("copies")).toString());
}

TEST_F(Document, FilesChangedOnDiskAreReloadedOnlyWhenUnedited)
{
    write({{"main.tex", "\\input{a}\n\\input{b}\n"}, {"a.tex", "old a\n"}, {"b.tex", "old b\n"}});
    auto document = open("main.tex");
    const auto a = pooled("a.tex");
    const auto b = pooled("b.tex");
    b->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("mine "));
    write({{"a.tex", "new a\n"}, {"b.tex", "new b\n"}, {"main.tex", "\\input{a}\n\\input{b}\n% more\n"}});
    for (const char *name : {"a.tex", "b.tex", "main.tex"})
        touchLater(name);
    document->windowDidBecomeKey();
    // The main file is reloaded too, and the document's own date follows it.
    EXPECT_EQ(QStringList({a->content(), b->content(), document->mainFile()->content()}).join(u'|'),
              u"new a\n|mine old b\n|\\input{a}\n\\input{b}\n% more\n");
    EXPECT_EQ(document->fileModificationDate(), QFileInfo(path("main.tex")).lastModified());
}

// Saving wrote over what another editor had saved meanwhile. The window is asked first; without
// a window the save stops. A file only touched, its bytes the same, is not a change.
TEST_F(Document, SavingAFileChangedByAnotherProgramAsksFirst)
{
    using Action = PLDocumentWindowDelegate::ChangedFileAction;
    // What another program leaves in chap.tex, which the project read as "old\n"; the answer (none:
    // no window); whether it was asked; whether the save went through; the bytes on disk; the text.
    const std::tuple<const char *, std::optional<Action>, bool, bool, const char *, const char *> cases[] = {
        {"theirs\n", Action::Overwrite, true, true, "mine old\n", "mine old\n"},
        {"theirs\n", Action::Reload, true, true, "theirs\n", "theirs\n"},
        {"theirs\n", Action::Cancel, true, false, "theirs\n", "mine old\n"},
        {"new\n", Action::Cancel, true, false, "new\n", "mine old\n"},
        {"theirs\n", std::nullopt, false, false, "theirs\n", "mine old\n"},
        {"old\n", Action::Cancel, false, true, "mine old\n", "mine old\n"}};
    for (const auto &[theirs, answer, asked, saved, onDisk, text] : cases) {
        SCOPED_TRACE(testing::Message() << theirs << answer.has_value());
        write({{"main.tex", "\\input{chap}\n"}, {"chap.tex", "old\n"}});
        std::optional<ChangedFileDelegate> delegate;
        auto document = open("main.tex");
        const auto chap = document->mainFile()->filesInDocument().constFirst();
        chap->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("mine "));
        write("chap.tex", theirs);
        touchLater("chap.tex");
        if (answer) {
            delegate.emplace(*answer);
            document->setWindowDelegate(&*delegate);
        }
        PLError error;
        EXPECT_EQ(document->saveDocument(&error), saved) << error.message.toStdString();
        const QString askedAbout = delegate ? delegate->asked.join(u' ') : QString();
        EXPECT_EQ(std::tuple(askedAbout, read("chap.tex"), chap->content(), document->isDocumentEdited()),
                  std::tuple(QString::fromLatin1(asked ? "chap.tex" : ""), QByteArray(onDisk), str(text), !saved));
        if (!saved) {
            EXPECT_EQ(PLDocument::isSaveCancelled(error), bool(delegate));
            EXPECT_TRUE(delegate || error.message.contains(path("chap.tex")));
        }
        document->close();
    }
}

// Saving made a private main file readable by everyone and replaced a symbolic link by a copy,
// so the link's target drifted away from what the user saved.
TEST_F(Document, SavingKeepsTheModeAndWritesThroughSymbolicLinks)
{
    write("real/main.tex", "\\section{A}\n");
    ASSERT_TRUE(QFile::link(QStringLiteral("real/main.tex"), path("main.tex")));
    for (const mode_t mode : {0600, 0751}) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(::chmod(QFile::encodeName(path("real/main.tex")).constData(), mode), 0);
        auto document = open("main.tex");
        append(*document->mainFile(), "%");
        ASSERT_TRUE(save(*document));
        document->close();
        EXPECT_TRUE(QFileInfo(path("main.tex")).isSymLink());
        struct stat info;
        ASSERT_EQ(::stat(QFile::encodeName(path("real/main.tex")).constData(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, mode);
    }
    EXPECT_EQ(read("real/main.tex"), QByteArray("\\section{A}\n%%"));
    EXPECT_TRUE(saveCopies().isEmpty());
}

// A save-as that failed (an encoding that cannot hold the text, a full disk) left the file it
// was to replace empty. The target changes only once the new bytes are complete, and a save that
// cannot complete leaves the old file whole and reports why.
TEST_F(Document, AFailedSaveAsLeavesTheFileItWasToReplace)
{
    write({{"main.tex", "draft\n"}, {"precious.tex", "precious\n"}});
    PLUserDefaults::standardUserDefaults().setInteger(PLStringEncodings::ISOLatin1, PLUserDefaultsFileEncoding);
    auto document = open("main.tex");
    append(*document->mainFile(), "\u20ac");
    PLError error;
    EXPECT_FALSE(document->saveDocumentAs(path("precious.tex"), &error));
    EXPECT_TRUE(error.message.contains(QStringLiteral("precious.tex")));
    // Text the encoding holds, and a folder or an impossible path as the target.
    document->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{0, document->mainFile()->content().size()},
                                                                   QString(4096, u'x'));
    QDir(m_dir.path()).mkdir(QStringLiteral("taken.tex"));
    EXPECT_FALSE(document->saveDocumentAs(path("taken.tex"), &error));
    for (const QString &target : {QStringLiteral("/proc/self/plumeo-cannot-write.tex"), path("missing-folder/deeper/new.tex")}) {
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
    const bool saved = document->saveDocumentAs(path("precious.tex"), &error);
    ::setrlimit(RLIMIT_FSIZE, &previousLimit);
    std::signal(SIGXFSZ, previousHandler);
    EXPECT_EQ(std::tuple(saved, read("precious.tex"), read("main.tex"), document->mainFile()->stringPath(), document->isDocumentEdited(),
                         saveCopies()),
              std::tuple(false, QByteArray("precious\n"), QByteArray("draft\n"), path("main.tex"), true, QStringList()));
}

// Makes a folder refuse new files while it lives. Permissions do not stop a privileged user; the
// immutable attribute does.
class ReadOnlyFolder
{
public:
    explicit ReadOnlyFolder(const QString &path) : m_path(QFile::encodeName(path)), m_fd(::open(m_path.constData(), O_RDONLY | O_DIRECTORY))
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
    write("locked/main.tex", "text\n");
    auto document = open("locked/main.tex");
    append(*document->mainFile(), "more");
    PLError error;
    {
        const ReadOnlyFolder locked(path("locked"));
        if (!locked.isReadOnly())
            GTEST_SKIP() << "no way to make a folder read-only for this user";
        EXPECT_FALSE(document->saveDocument(&error));
    }
    EXPECT_TRUE(error.message.contains(path("locked/main.tex"))) << error.message.toStdString();
    EXPECT_FALSE(error.message.contains(QStringLiteral("plumeo-save"))) << error.message.toStdString();
    EXPECT_EQ(read("locked/main.tex"), QByteArray("text\n"));
}

// Killed saves left full-size hidden copies behind for good. Opening or saving the project
// removes those of its own files whose writer is gone, and nothing else.
TEST_F(Document, StaleSaveCopiesOfProjectFilesAreRemoved)
{
    write({{"main.tex", "\\input{chap}\n"}, {"chap.tex", "chap\n"}});
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
    auto document = open("main.tex");
    for (const QString &name : stale + kept)
        EXPECT_EQ(QFileInfo::exists(path(name)), kept.contains(name)) << name.toStdString();
    write(stale.constFirst(), "copy");
    append(*document->mainFile(), "%");
    ASSERT_TRUE(save(*document));
    EXPECT_FALSE(QFileInfo::exists(path(stale.constFirst())));
}

TEST_F(Document, RemovingByProductsKeepsThePdf)
{
    write({{"main.tex", "\\input{chap}\n"}, {"chap.tex", "x\n"}});
    const QStringList byProducts = QStringLiteral("chap.aux main.aux main.bbl main.blg main.exa main.idx main.lof main.log main.lot "
                                                  "main.out main.toc main.synctex.gz").split(u' ');
    for (const QString &name : byProducts + QStringLiteral("main.tex.bak main.pdf main.bib").split(u' '))
        write(name, "x");
    auto document = open("main.tex");
    EXPECT_EQ(document->removeTypesettingRelatedFiles(), byProducts.size());
    EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::Files).join(u' '), u"chap.tex main.bib main.pdf main.tex main.tex.bak");
}

TEST_F(Document, AKilledSaveLeavesEitherTheOldOrTheNewFile)
{
    write("big.tex", QByteArray(1024, 'o'));
    for (int round = 0; round < 6; ++round) {
        QProcess saver;
        saver.start(QStringLiteral(PLUMEO_SAVE_LOOP_PATH), {path("big.tex")});
        ASSERT_TRUE(saver.waitForStarted());
        // Let it complete a different number of saves each round, then kill it mid-write.
        while (saver.bytesAvailable() < round + 1)
            ASSERT_TRUE(saver.waitForReadyRead(30000));
        saver.kill();
        saver.waitForFinished();
        const QByteArray onDisk = read("big.tex");
        EXPECT_TRUE(onDisk == QByteArray(2 * 1024 * 1024, 'a') || onDisk == QByteArray(3 * 1024 * 1024, 'b')
                    || onDisk == QByteArray(1024, 'o'))
            << "round " << round << ", " << onDisk.size() << " bytes";
    }
    // The copies the killed saves were writing go when the project is next opened.
    open("big.tex");
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
    static QString fileName(int file) { return file == kBibliography ? QStringLiteral("refs.bib") : QStringLiteral("f%1.tex").arg(file); }
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
        return chance(30) ? text + QStringLiteral("\\bibliography{refs}\n") : text;
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
    std::set<int> reachedFrom(std::vector<int> pending) const
    {
        std::set<int> reached;
        while (!pending.empty()) {
            const int file = pending.back();
            pending.pop_back();
            if (!reached.insert(file).second)
                continue;
            if (m_kept.count(file))
                pending.insert(pending.end(), m_kept.at(file).begin(), m_kept.at(file).end());
            for (const auto &[target, count] : openings(file))
                pending.push_back(target);
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
        std::set<int> unsaved;
        for (const auto &[target, count] : openings(file)) {
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
    // The open count of each file the model expects in the pool.
    std::map<int, quint32> expectedCounts()
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
        return counts;
    }
    // The open count of each file in the pool; -1 for an included object the pool does not hold.
    std::map<int, quint32> actualCounts() const
    {
        std::map<int, quint32> counts;
        for (int file = 0; file <= kBibliography; ++file) {
            if (const auto object = live(file)) {
                counts[file] = object->openCount();
                for (const auto &included : object->filesInDocument())
                    counts[file] = m_pool.fileForPath(included->stringPath()) == included ? counts[file] : quint32(-1);
            }
        }
        EXPECT_EQ(m_pool.filesOpened().size(), qsizetype(counts.size()));
        return counts;
    }
    // One random step.
    void step()
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
                return;
            }
            [[fallthrough]];
        case 1:
            if (!m_documents.empty()) {
                const auto closed = m_documents.begin() + pick(int(m_documents.size()));
                closed->first->close();
                m_documents.erase(closed);
            }
            return;
        case 2:
            if (object && !object->hasUnsavedChanges() && file != kBibliography) {
                changeText(file, [&] {
                    PLTest::writeFile(path(fileName(file)), randomText(file).toUtf8());
                    object->reloadContent();
                });
            }
            return;
        case 3: {
            qsizetype start = content.indexOf(u'\n') + 1;
            std::vector<PLRange> includeLines;
            for (qsizetype end; start > 0 && (end = content.indexOf(u'\n', start)) >= 0; start = end + 1) {
                if (content[start] == u'\\')
                    includeLines.push_back(PLRange{start, end + 1 - start});
            }
            if (includeLines.empty())
                return;
            const PLRange line = includeLines[pick(int(includeLines.size()))];
            const bool comment = chance(50);
            changeText(file, [&] {
                object->replaceContentStringInRange(comment ? PLRange{line.location, 0} : line, comment ? QStringLiteral("%") : QString());
            });
            return;
        }
        case 4: {
            if (!object || file >= kBibliography - 1)
                return;
            const QString line = chance(25) ? QStringLiteral("\\bibliography{refs}\n")
                                            : QStringLiteral("\\input{f%1}\n").arg(file + 1 + pick(kBibliography - 1 - file));
            std::vector<qsizetype> lineStarts;
            for (qsizetype at = content.indexOf(u'\n'); at >= 0; at = content.indexOf(u'\n', at + 1))
                lineStarts.push_back(at + 1);
            const qsizetype at = lineStarts[pick(int(lineStarts.size()))];
            changeText(file, [&] { object->replaceContentStringInRange(PLRange{at, 0}, line); });
            return;
        }
        case 5:
            if (object)
                changeText(file, [&] { object->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("x")); });
            return;
        default:
            if (object && object->contentBuffer()->undoManager()->canUndo())
                changeText(file, [&] { object->contentBuffer()->undoManager()->undo(); });
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
        for (int steps = 0; steps < 60; ++steps) {
            step();
            ASSERT_EQ(actualCounts(), expectedCounts()) << "seed " << seed << ", step " << steps;
        }
        m_documents.clear();
        ASSERT_TRUE(m_pool.filesOpened().isEmpty()) << "seed " << seed;
        m_kept.clear();
    }
}

}
