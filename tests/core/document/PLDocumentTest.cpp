#include "PLDictionaryKeys.h"
#include "PLDocument.h"
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

    QTemporaryDir m_dir;
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
    EXPECT_TRUE(QDir(m_dir.path()).entryList(QStringList{QStringLiteral(".*plumeo-save*")}, QDir::Hidden | QDir::Files).isEmpty());
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
}

}
