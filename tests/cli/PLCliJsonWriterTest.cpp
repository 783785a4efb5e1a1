#include "PLCliRunner.h"
#include "PLTestSupport.h"
#include "cli/PLCliJsonWriter.h"

#include <QDir>
#include <QTemporaryDir>

#include <cmath>
#include <random>

#include <gtest/gtest.h>

// The CLI writes its JSON by hand; what it prints must stay what QJsonDocument printed.
namespace {

QString piecesString(std::mt19937 &random)
{
    static const QStringList pieces = {
        QStringLiteral("a"), QStringLiteral("\\section{x}"), QStringLiteral("\""), QStringLiteral("\\"),
        QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral("\t"), QStringLiteral("\b"), QStringLiteral("\f"),
        QString(QChar(0x01)), QString(QChar(0x1f)), QString(QChar(0x7f)), QString(QChar(0x80)), QString(QChar(0xe9)),
        QString(QChar(0x7ff)), QString(QChar(0x800)), QString(QChar(0x2028)), QString(QChar(0xfffe)),
        QString(QChar(0xffff)), QString::fromUtf16(u"𝔸"), QString(QChar(0xd800)), QString(QChar(0xdbff)),
        QString(QChar(0xdc00)), QStringLiteral("/"), QStringLiteral("<>&'"), QString(QChar(0))};
    QString text;
    const int length = int(random() % 12);
    for (int i = 0; i < length; ++i)
        text += pieces[int(random() % pieces.size())];
    return text;
}

QJsonValue randomValue(std::mt19937 &random, int depth)
{
    switch (random() % (depth > 4 ? 4 : 6)) {
    case 0: return QJsonValue(piecesString(random));
    case 1: return QJsonValue(int(random() % 2001) - 1000);
    case 2: return QJsonValue(random() % 2 == 0);
    case 3: return random() % 2 == 0 ? QJsonValue() : QJsonValue(std::ldexp(double(random() % 1000) - 500, int(random() % 80) - 40));
    case 4: {
        QJsonArray array;
        for (int n = int(random() % 4); n > 0; --n)
            array.append(randomValue(random, depth + 1));
        return array;
    }
    default: {
        QJsonObject object;
        for (int n = int(random() % 5); n > 0; --n)
            object.insert(piecesString(random), randomValue(random, depth + 1));
        return object;
    }
    }
}

// Edge documents, then random trees of every kind of value.
TEST(PLCliJsonWriter, WritesTheBytesQJsonDocumentWrites)
{
    std::mt19937 random(41);
    QJsonArray trees;
    for (int i = 0; i < 300; ++i)
        trees.append(randomValue(random, 0));
    const QJsonDocument documents[] = {
        QJsonDocument(QJsonObject()), QJsonDocument(QJsonArray()),
        QJsonDocument(QJsonArray{0, -1, qint64(1) << 53, 0.5, -0.0, 1e300, 1.0 / 3, std::nan(""), HUGE_VAL}),
        QJsonDocument(trees)};
    for (const QJsonDocument &document : documents) {
        PLCliJsonWriter writer;
        writer.json(document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object()));
        EXPECT_EQ(writer.bytes().toStdString(), document.toJson(QJsonDocument::Indented).toStdString());
    }
}

// Whole commands: reading what they print and printing it again with QJsonDocument gives the same
// bytes, so their members stand in QJsonObject's order and their strings are escaped as it does.
TEST(PLCliJsonWriter, CommandsPrintWhatQJsonDocumentPrinted)
{
    QTemporaryDir dir;
    const auto path = [&](const char *relative) { return QDir(dir.path()).filePath(QString::fromLatin1(relative)); };
    PLTest::writeFile(path("main.tex"), "\\part{P \"q\" \\\\ \\t}\n\\chapter[s]{C \xc3\xa9 \xf0\x9d\x94\xb8}\ntext\t\f\n"
                                        "\\input{sub/chap}\n\\input{main}\n\\bibliography{refs}\n");
    PLTest::writeFile(path("sub/chap.tex"), "\\section{Inside}\n\\input{../main}\n\\paragraph*{Deep}\n");
    PLTest::writeFile(path("refs.bib"), "@book{a, title={A}}\n");
    // The arguments are split at "|".
    for (const char *command :
         {"outline", "outline|--no-content", "outline|--sidebar", "edit|--replace|0|0|\\section{New \"one\"}\n% \\input{loop}\n"}) {
        SCOPED_TRACE(command);
        QStringList arguments = QString::fromUtf8(command).split(u'|');
        arguments.insert(1, path("main.tex"));
        const PLCliRun run = runCli(arguments);
        ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
        EXPECT_EQ(run.standardOutput.toStdString(), run.json().toJson(QJsonDocument::Indented).toStdString());
    }
}

}
