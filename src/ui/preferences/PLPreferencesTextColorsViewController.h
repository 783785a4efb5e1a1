#pragma once

#include "ui/preferences/PLColorWellDelegate.h"
#include "ui/preferences/PLPreferencesPaneViewController.h"
#include "core/editor/PLSyntaxHighlightingColorSettings.h"

#include <QList>

class PLColorWell;
class QCheckBox;
class QPushButton;
class QStandardItemModel;
class QTreeView;

// The editor's colours: text, background and current line in four wells, and a foreground and
// background colour per kind of LaTeX and BibTeX text in an outline of groups. Every change is
// stored and written to disk at once and announced, so every open editor re-colours at once.
class PLPreferencesTextColorsViewController : public PLPreferencesPaneViewController, public PLColorWellDelegate
{
    Q_OBJECT

public:
    // The identifiers of the outline's columns, in order.
    static const QStringList &columnIdentifiers();

    explicit PLPreferencesTextColorsViewController(PLPreferencesWindowController *windowController);

    const QList<PLSyntaxHighlightingColorSettings> &colorProperties() const { return m_colorProperties; }

    QTreeView *syntaxColorsOutline();
    PLColorWell *backgroundColor();
    PLColorWell *textColor();
    PLColorWell *lineHighlightBackground();
    PLColorWell *lineHighlightBorder();
    // Shown, with no behaviour behind it: colouring is always on.
    QCheckBox *syntaxHighlightingEnabledCheckbox();
    QPushButton *resetButton();
    // The well of a row of a group in the "foreground" or "background" column.
    PLColorWell *colorWellAt(int group, int row, const QString &columnIdentifier);

    // Binds the four single wells to their settings again.
    void reloadColorWells();
    // Writes the reset colours, tells every editor, and shows them in every well.
    void reset();

    // Announces the change of a well: the background, line highlight and text wells their own
    // notifications, any other well its notification key.
    void colorWellDidChangeColor(PLColorWell *colorWell, const std::optional<PLColor> &color) override;

protected:
    QWidget *loadView() override;
    void awakeFromNib() override;

private:
    void openColorWellCells(bool open);

    QList<PLSyntaxHighlightingColorSettings> m_colorProperties;
    QStandardItemModel *m_outlineModel = nullptr;
    QTreeView *m_syntaxColorsOutline = nullptr;
    PLColorWell *m_backgroundColor = nullptr;
    PLColorWell *m_textColor = nullptr;
    PLColorWell *m_lineHighlightBackground = nullptr;
    PLColorWell *m_lineHighlightBorder = nullptr;
    QCheckBox *m_syntaxHighlightingEnabledCheckbox = nullptr;
    QPushButton *m_resetButton = nullptr;
};
