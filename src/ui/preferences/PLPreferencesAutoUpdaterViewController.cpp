#include "ui/preferences/PLPreferencesAutoUpdaterViewController.h"

#include "ui/preferences/PLPreferencesWindowController.h"

#include <QLabel>
#include <QVBoxLayout>

PLPreferencesAutoUpdaterViewController::PLPreferencesAutoUpdaterViewController(PLPreferencesWindowController *windowController)
    : PLPreferencesPaneViewController(QStringLiteral("PLPreferencesAutoUpdaterView"), windowController)
{
}

QWidget *PLPreferencesAutoUpdaterViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(nibName());
    auto *layout = new QVBoxLayout(view);
    layout->setContentsMargins(24, 20, 24, 24);
    layout->setSpacing(10);

    auto *title = new QLabel(tr("Plumeo %1 does not update itself.").arg(QStringLiteral(PLUMEO_VERSION)), view);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    layout->addWidget(title);

    auto *text = new QLabel(tr("On Linux, updates come from your distribution, together with the rest of your system. "
                               "Install them with your package manager or software centre; if you built Plumeo "
                               "yourself, build a newer version from its sources."),
                            view);
    text->setWordWrap(true);
    layout->addWidget(text);
    layout->addStretch();
    return view;
}
