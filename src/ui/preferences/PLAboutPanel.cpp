#include "ui/preferences/PLAboutPanel.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>

#include <synctex_version.h>
#include <unicode/uvernum.h>
#include <zlib.h>

namespace {
struct Library
{
    QString name;
    QString version;
    const char *use;
    QString licence;
    QString url;
};

QList<Library> libraries()
{
    const QString qt = QString::fromLatin1(qVersion());
    return {
        {QStringLiteral("Qt"), qt, QT_TRANSLATE_NOOP("PLAboutPanel", "windows, text and settings"),
         QStringLiteral("LGPL 3.0"), QStringLiteral("https://www.qt.io")},
        {QStringLiteral("Qt PDF"), qt, QT_TRANSLATE_NOOP("PLAboutPanel", "the PDF preview"), QStringLiteral("LGPL 3.0"),
         QStringLiteral("https://doc.qt.io/qt-6/qtpdf-index.html")},
        {QStringLiteral("ICU"), QStringLiteral(U_ICU_VERSION),
         QT_TRANSLATE_NOOP("PLAboutPanel", "regular expressions and text encodings"), QStringLiteral("Unicode License"),
         QStringLiteral("https://icu.unicode.org")},
        {QStringLiteral("libsynctex"), QStringLiteral(SYNCTEX_VERSION_STRING),
         QT_TRANSLATE_NOOP("PLAboutPanel", "jumps between the source and the PDF"), QStringLiteral("MIT"),
         QStringLiteral("https://github.com/jlaurens/synctex")},
        {QStringLiteral("Hunspell"), QStringLiteral(PLUMEO_HUNSPELL_VERSION), QT_TRANSLATE_NOOP("PLAboutPanel", "spell checking"),
         QStringLiteral("MPL 1.1 / GPL 2.0 / LGPL 2.1"), QStringLiteral("https://hunspell.github.io")},
        {QStringLiteral("zlib"), QString::fromLatin1(zlibVersion()),
         QT_TRANSLATE_NOOP("PLAboutPanel", "reading compressed SyncTeX files"), QStringLiteral("zlib License"),
         QStringLiteral("https://zlib.net")},
    };
}
}

PLAboutPanel::PLAboutPanel(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("PLAboutPanel"));
    setWindowTitle(tr("About Plumeo"));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 16);
    layout->setSpacing(14);

    auto *heading = new QHBoxLayout;
    heading->setSpacing(18);
    auto *icon = new QLabel(this);
    icon->setPixmap(QIcon(QStringLiteral(":/ui/plumeo.svg")).pixmap(QSize(80, 80), devicePixelRatioF()));
    heading->addWidget(icon, 0, Qt::AlignTop);
    auto *identity = new QLabel(tr("<p style=\"font-size:x-large\"><b>Plumeo</b></p>"
                                   "<p>Version %1</p>"
                                   "<p>An editor for LaTeX projects.</p>")
                                    .arg(QStringLiteral(PLUMEO_VERSION)),
                                this);
    identity->setObjectName(QStringLiteral("identity"));
    identity->setTextInteractionFlags(Qt::TextSelectableByMouse);
    heading->addWidget(identity, 1);
    layout->addLayout(heading);

    auto *licence = new QLabel(tr("Plumeo is free software: you can redistribute it and modify it under the terms of the "
                                  "GNU General Public License, version 3 or (at your option) any later version. It comes "
                                  "with no warranty."),
                               this);
    licence->setObjectName(QStringLiteral("licence"));
    licence->setWordWrap(true);
    layout->addWidget(licence);

    QString rows;
    for (const Library &library : libraries()) {
        rows += QStringLiteral("<tr><td><a href=\"%1\">%2</a>&nbsp;%3</td><td>&nbsp;&nbsp;%4</td><td>&nbsp;&nbsp;%5</td></tr>")
                    .arg(library.url, library.name, library.version, tr(library.use), library.licence);
    }
    auto *built = new QLabel(tr("<p>Plumeo stands on these libraries:</p><table>%1</table>").arg(rows), this);
    built->setObjectName(QStringLiteral("libraries"));
    built->setOpenExternalLinks(true);
    built->setTextInteractionFlags(Qt::TextBrowserInteraction);
    layout->addWidget(built);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}
