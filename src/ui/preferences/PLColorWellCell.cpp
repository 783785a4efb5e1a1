#include "ui/preferences/PLColorWellCell.h"

#include "ui/preferences/PLColorWell.h"

#include <algorithm>

PLColorWellCell::PLColorWellCell(PLColorWellDelegate *colorWellDelegate, QObject *parent)
    : QStyledItemDelegate(parent), m_colorWellDelegate(colorWellDelegate)
{
}

bool PLColorWellCell::displayColorWell(const QModelIndex &index)
{
    return !index.data(UserDefaultsKeyRole).toString().isEmpty();
}

QWidget *PLColorWellCell::createEditor(QWidget *parent, const QStyleOptionViewItem &, const QModelIndex &index) const
{
    if (!displayColorWell(index))
        return nullptr;
    auto *well = new PLColorWell(parent);
    // Bound before it has a delegate: making the cells announces nothing.
    well->setUserDefaultsKey(index.data(UserDefaultsKeyRole).toString());
    well->setNotificationKey(index.data(NotificationKeyRole).toString());
    well->setToolTip(index.data(Qt::ToolTipRole).toString());
    well->setAccessibleName(index.siblingAtColumn(0).data().toString() + QStringLiteral(": ") + well->toolTip());
    well->setDelegate(m_colorWellDelegate);
    return well;
}

void PLColorWellCell::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option, const QModelIndex &) const
{
    QRect frame(QPoint(0, 0), editor->sizeHint().boundedTo(option.rect.size()));
    frame.moveCenter(option.rect.center());
    editor->setGeometry(frame);
}

QSize PLColorWellCell::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const QSize text = QStyledItemDelegate::sizeHint(option, index);
    return QSize(std::max(text.width(), 52), std::max(text.height(), 30));
}
