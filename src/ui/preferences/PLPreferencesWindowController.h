#pragma once

#include "ui/window/XSWindowController.h"

#include <QHash>
#include <QStringList>

class PLPreferencesPaneViewController;
class QAction;
class QActionGroup;
class QToolBar;
class QVariantAnimation;

// The preferences window: a toolbar of panes above the shown pane. Switching panes resizes the
// window to the new pane while its top edge stays where it is; closing the window asks every
// pane to save what it still holds.
class PLPreferencesWindowController : public XSWindowController
{
    Q_OBJECT

public:
    explicit PLPreferencesWindowController(QObject *parent = nullptr);
    ~PLPreferencesWindowController() override;

    // Every identifier the toolbar can select, in toolbar order.
    static QStringList toolbarSelectableItemIdentifiers();

    using XSWindowController::addViewController;
    // Registers the pane under the toolbar identifier and adds it to the window's controllers.
    void addViewController(PLPreferencesPaneViewController *viewController, const QString &identifier);
    PLPreferencesPaneViewController *viewControllerForIdentifier(const QString &identifier) const;
    PLPreferencesPaneViewController *shownViewController() const { return m_shownViewController; }

    // The action of every toolbar item: shows the pane of the item's identifier.
    void selectPrefenceView(QAction *sender);
    // Shows the registered pane of the identifier; an unknown identifier, or the pane already
    // shown, changes nothing.
    void selectViewControllerWithIdentifier(const QString &identifier);

    QToolBar *toolbar();
    QWidget *contentBox();
    // The identifier the toolbar marks as selected.
    QString selectedItemIdentifier() const;
    // The window height the running resize is heading for, or the current one.
    int targetHeight();

    // Centred the first time, in front.
    void showWindow();
    // Closes the window the way the user does, so the panes save their data.
    void close();
    // Every pane saves its data; the window may then close.
    bool windowShouldClose();

protected:
    QWidget *loadWindow() override;
    void windowDidLoad() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void resizeWindowToHeight(int height);
    int preferredHeightOfPane(QWidget *view);

    QHash<QString, PLPreferencesPaneViewController *> m_viewControllers;
    PLPreferencesPaneViewController *m_shownViewController = nullptr;
    QToolBar *m_toolbar = nullptr;
    QActionGroup *m_toolbarItems = nullptr;
    QWidget *m_contentBox = nullptr;
    QVariantAnimation *m_resize = nullptr;
    bool m_placed = false;
};
