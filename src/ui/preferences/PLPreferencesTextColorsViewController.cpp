#include "ui/preferences/PLPreferencesTextColorsViewController.h"

#include "ui/preferences/PLColorWell.h"
#include "ui/preferences/PLColorWellCell.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "ui/preferences/PLPreferencesWindowController.h"
#include "core/editor/PLSyntaxHighlightingColorReset.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTreeView>
#include <QVBoxLayout>

namespace {
constexpr int IdentifierRole = Qt::UserRole + 10;
constexpr int colorColumnWidth = 64;

QStandardItem *cell(const QString &text = QString())
{
    auto *item = new QStandardItem(text);
    item->setEditable(false);
    return item;
}

QStandardItem *colorCell(const QString &key, const QString &notification, const QString &toolTip)
{
    QStandardItem *item = cell();
    item->setData(key, PLColorWellCell::UserDefaultsKeyRole);
    item->setData(notification, PLColorWellCell::NotificationKeyRole);
    item->setToolTip(toolTip);
    return item;
}
}

const QStringList &PLPreferencesTextColorsViewController::columnIdentifiers()
{
    static const QStringList identifiers = {QStringLiteral("0"), QStringLiteral("foreground"), QStringLiteral("background")};
    return identifiers;
}

PLPreferencesTextColorsViewController::PLPreferencesTextColorsViewController(PLPreferencesWindowController *windowController)
    : PLPreferencesPaneViewController(QStringLiteral("PLPreferencesTextColorsView"), windowController),
      m_colorProperties(PLSyntaxHighlightingColorSettings::editorColorGroups())
{
}

QWidget *PLPreferencesTextColorsViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(nibName());
    auto *layout = new QVBoxLayout(view);
    layout->setContentsMargins(24, 20, 24, 20);
    layout->setSpacing(12);

    auto *wells = new QGridLayout;
    wells->setHorizontalSpacing(8);
    wells->setColumnStretch(2, 1);
    const auto addWell = [&](const char *name, const QString &label, int row, int column) {
        auto *well = new PLColorWell(view);
        well->setObjectName(QString::fromLatin1(name));
        well->setToolTip(label);
        well->setAccessibleName(label);
        well->setDelegate(this);
        auto *title = new QLabel(label + QLatin1Char(':'), view);
        title->setBuddy(well);
        wells->addWidget(title, row, column, Qt::AlignRight);
        wells->addWidget(well, row, column + 1, Qt::AlignLeft);
        return well;
    };
    m_textColor = addWell("textColor", tr("Text"), 0, 0);
    m_backgroundColor = addWell("backgroundColor", tr("Background"), 1, 0);
    m_lineHighlightBackground = addWell("lineHighlightBackground", tr("Current line"), 0, 3);
    m_lineHighlightBorder = addWell("lineHighlightBorder", tr("Current line border"), 1, 3);
    layout->addLayout(wells);

    m_syntaxHighlightingEnabledCheckbox = new QCheckBox(tr("Color LaTeX and BibTeX syntax"), view);
    m_syntaxHighlightingEnabledCheckbox->setObjectName(QStringLiteral("syntaxHighlightingEnabledCheckbox"));
    m_syntaxHighlightingEnabledCheckbox->setChecked(true);
    m_syntaxHighlightingEnabledCheckbox->setEnabled(false);
    m_syntaxHighlightingEnabledCheckbox->setToolTip(tr("Syntax coloring is always on."));
    layout->addWidget(m_syntaxHighlightingEnabledCheckbox);

    m_outlineModel = new QStandardItemModel(0, int(columnIdentifiers().size()), view);
    const QString toolTips[] = {QString(), QStringLiteral("Foreground color"), QStringLiteral("Background color")};
    for (int column = 0; column < columnIdentifiers().size(); ++column) {
        QStandardItem *header = cell(column == 0 ? tr("Syntax") : QString());
        header->setData(columnIdentifiers().at(column), IdentifierRole);
        header->setToolTip(toolTips[column]);
        header->setTextAlignment(column == 0 ? Qt::AlignLeft | Qt::AlignVCenter : Qt::AlignCenter);
        m_outlineModel->setHorizontalHeaderItem(column, header);
    }
    for (const PLSyntaxHighlightingColorSettings &group : std::as_const(m_colorProperties)) {
        QStandardItem *groupItem = cell(group.title());
        for (const PLSyntaxHighlightingColorSetting &setting : group.properties()) {
            groupItem->appendRow({cell(setting.title()),
                                  colorCell(setting.foreground(), setting.foregroundNotification(), toolTips[1]),
                                  colorCell(setting.background(), setting.backgroundNotification(), toolTips[2])});
        }
        m_outlineModel->appendRow({groupItem, cell(), cell()});
    }

    m_syntaxColorsOutline = new QTreeView(view);
    m_syntaxColorsOutline->setObjectName(QStringLiteral("syntaxColorsOutline"));
    m_syntaxColorsOutline->setModel(m_outlineModel);
    auto *wellCell = new PLColorWellCell(this, m_syntaxColorsOutline);
    m_syntaxColorsOutline->setItemDelegateForColumn(1, wellCell);
    m_syntaxColorsOutline->setItemDelegateForColumn(2, wellCell);
    m_syntaxColorsOutline->setSelectionMode(QAbstractItemView::NoSelection);
    m_syntaxColorsOutline->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_syntaxColorsOutline->setFocusPolicy(Qt::NoFocus);
    m_syntaxColorsOutline->setAlternatingRowColors(true);
    m_syntaxColorsOutline->setUniformRowHeights(true);
    m_syntaxColorsOutline->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QHeaderView *header = m_syntaxColorsOutline->header();
    header->setStretchLastSection(false);
    header->setSectionsMovable(false);
    header->setSectionResizeMode(0, QHeaderView::Stretch);
    for (int column : {1, 2}) {
        header->setSectionResizeMode(column, QHeaderView::Fixed);
        header->resizeSection(column, colorColumnWidth);
    }
    layout->addWidget(m_syntaxColorsOutline, 1);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    m_resetButton = new QPushButton(tr("Restore Defaults"), view);
    m_resetButton->setObjectName(QStringLiteral("resetButton"));
    connect(m_resetButton, &QPushButton::clicked, this, &PLPreferencesTextColorsViewController::reset);
    buttons->addWidget(m_resetButton);
    layout->addLayout(buttons);
    return view;
}

void PLPreferencesTextColorsViewController::awakeFromNib()
{
    const struct
    {
        int column;
        const char *image;
    } headerImages[] = {{1, ":/images/foreground_color_icon.svg"}, {2, ":/images/background_color_icon.svg"}};
    for (const auto &[column, image] : headerImages) {
        const QPixmap scaled = QIcon(QString::fromLatin1(image)).pixmap(QSize(14, 14), m_syntaxColorsOutline->devicePixelRatioF());
        m_outlineModel->horizontalHeaderItem(column)->setIcon(QIcon(scaled));
    }
    m_syntaxColorsOutline->expandAll();
    openColorWellCells(true);

    // Tall enough for every row, so the outline never scrolls.
    int rows = 0;
    for (const PLSyntaxHighlightingColorSettings &group : std::as_const(m_colorProperties))
        rows += 1 + int(group.countOfProperties());
    const int rowHeight = m_syntaxColorsOutline->sizeHintForRow(0);
    m_syntaxColorsOutline->setMinimumHeight(rows * rowHeight + m_syntaxColorsOutline->header()->sizeHint().height()
                                            + 2 * m_syntaxColorsOutline->frameWidth());
    reloadColorWells();
}

void PLPreferencesTextColorsViewController::openColorWellCells(bool open)
{
    for (int group = 0; group < m_outlineModel->rowCount(); ++group) {
        const QModelIndex parent = m_outlineModel->index(group, 0);
        for (int row = 0; row < m_outlineModel->rowCount(parent); ++row) {
            for (int column : {1, 2}) {
                const QModelIndex index = m_outlineModel->index(row, column, parent);
                if (open)
                    m_syntaxColorsOutline->openPersistentEditor(index);
                else
                    m_syntaxColorsOutline->closePersistentEditor(index);
            }
        }
    }
}

QTreeView *PLPreferencesTextColorsViewController::syntaxColorsOutline()
{
    view();
    return m_syntaxColorsOutline;
}

PLColorWell *PLPreferencesTextColorsViewController::backgroundColor()
{
    view();
    return m_backgroundColor;
}

PLColorWell *PLPreferencesTextColorsViewController::textColor()
{
    view();
    return m_textColor;
}

PLColorWell *PLPreferencesTextColorsViewController::lineHighlightBackground()
{
    view();
    return m_lineHighlightBackground;
}

PLColorWell *PLPreferencesTextColorsViewController::lineHighlightBorder()
{
    view();
    return m_lineHighlightBorder;
}

QCheckBox *PLPreferencesTextColorsViewController::syntaxHighlightingEnabledCheckbox()
{
    view();
    return m_syntaxHighlightingEnabledCheckbox;
}

QPushButton *PLPreferencesTextColorsViewController::resetButton()
{
    view();
    return m_resetButton;
}

PLColorWell *PLPreferencesTextColorsViewController::colorWellAt(int group, int row, const QString &columnIdentifier)
{
    view();
    const QModelIndex index = m_outlineModel->index(row, int(columnIdentifiers().indexOf(columnIdentifier)),
                                                    m_outlineModel->index(group, 0));
    return qobject_cast<PLColorWell *>(m_syntaxColorsOutline->indexWidget(index));
}

void PLPreferencesTextColorsViewController::reloadColorWells()
{
    m_backgroundColor->setUserDefaultsKey(PLUserDefaultsEditorBackgroundColor);
    m_textColor->setUserDefaultsKey(PLUserDefaultsEditorColorText);
    m_lineHighlightBorder->setUserDefaultsKey(PLUserDefaultsEditorColorLineHighlighterBorders);
    m_lineHighlightBackground->setUserDefaultsKey(PLUserDefaultsEditorColorLineHighlighter);
}

void PLPreferencesTextColorsViewController::reset()
{
    PLResetSyntaxHighlightingColors();
    // New cells read the new colours, as a redrawn outline does.
    openColorWellCells(false);
    openColorWellCells(true);
    reloadColorWells();
}

void PLPreferencesTextColorsViewController::colorWellDidChangeColor(PLColorWell *colorWell, const std::optional<PLColor> &)
{
    PLNotificationCenter &center = PLNotificationCenter::defaultCenter();
    if (colorWell == m_backgroundColor)
        center.post(PLNotificationEditorBackgroundColorDidChange);
    else if (colorWell == m_lineHighlightBackground || colorWell == m_lineHighlightBorder)
        center.post(PLNotificationEditorLineHighlightColorDidChange);
    else if (colorWell == m_textColor)
        center.post(PLNotificationEditorTextStyleDidChange);
    else if (!colorWell->notificationKey().isEmpty())
        center.post(colorWell->notificationKey());
}
