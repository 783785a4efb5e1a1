#pragma once

#include <functional>
#include <unordered_map>

class QAction;

// The commands that menu items send along the responder chain. Each one names the method of the
// controller that answers it.
enum class PLAction {
    NewDocument,
    OpenDocument,
    SaveDocument,
    SaveDocumentAs,
    PerformClose,
    RemoveTypesettingRelatedFiles,
    PrintDocument,
    ExportPdf,
    Terminate,
    Undo,
    Redo,
    Cut,
    Copy,
    Paste,
    SelectAll,
    PerformFindPanelAction,
    DisplayGoToLineWindow,
    ToggleCommentOfCurrentLine,
    ToggleBold,
    ToggleItalic,
    ToggleUnderline,
    DisplayPreferences,
    DisplayOpenQuicklyWindow,
    SplitView,
    SplitViewAndDisplayPDF,
    CloseView,
    ToggleDocumentPDF,
    NavigateToSplitViewMenuItemPressed,
    NavigateBackward,
    NavigateForward,
    ToggleFullScreen,
    Typeset,
    StopTypesetting,
    DisplayTransformationConsole,
    DisplayErrorsAndWarnings,
    PerformTexSyncMenuAction,
    Minimize,
    DisplayWelcomeWindow,
    GettingStartedWithPlumeo,
    OrderFrontAboutPanel,
};

// One link of a window's responder chain. A responder implements some actions, each with an
// optional validation for the menu item that sends it, and hands everything else to its next
// responder. A responder that goes away takes itself out of every chain that leads to it, so no
// walk ever reaches a deleted responder (a closed pane, for one). Main thread only.
class PLResponder
{
public:
    using Perform = std::function<void(QAction *sender)>;
    using Validate = std::function<bool(QAction *item)>;

    PLResponder();
    PLResponder(const PLResponder &) = delete;
    PLResponder &operator=(const PLResponder &) = delete;
    virtual ~PLResponder();

    virtual PLResponder *nextResponder() const { return m_nextResponder; }
    void setNextResponder(PLResponder *responder) { m_nextResponder = responder; }

    bool respondsToAction(PLAction action) const;
    // Performs the action when this responder implements it and the item is valid; answers
    // whether the action was taken.
    bool tryToPerform(PLAction action, QAction *sender);
    // Whether the menu item may be chosen, asked of the responder that implements its action.
    bool validateMenuItem(PLAction action, QAction *item) const;

protected:
    void setActionHandler(PLAction action, Perform perform, Validate validate = {});

private:
    struct Handler
    {
        Perform perform;
        Validate validate;
    };

    PLResponder *m_nextResponder = nullptr;
    std::unordered_map<PLAction, Handler> m_handlers;
};
