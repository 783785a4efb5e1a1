#include "ui/window/PLOutlineViewCell.h"

#include "ui/window/PLDocumentOutlineItemModel.h"

#include <QApplication>
#include <QPainter>

QFont PLOutlineViewCell::smallSystemFont()
{
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * 0.92);
    return font;
}

void PLOutlineViewCell::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    drawItemBackground(painter, option, index);

    const bool selected = option.state & QStyle::State_Selected;
    const bool group = index.data(PLDocumentOutlineItemModel::IsGroupRole).toBool();
    QRect area = option.rect.adjusted(4, 0, -4, 0);

    painter->save();
    const QPixmap icon = index.data(Qt::DecorationRole).value<QPixmap>();
    if (!icon.isNull()) {
        const QSizeF iconSize = icon.deviceIndependentSize();
        const QPointF origin(area.left(), area.top() + (area.height() - iconSize.height()) / 2.0);
        painter->drawPixmap(origin, icon);
        area.setLeft(area.left() + int(iconSize.width()) + 6);
    }

    QFont font = smallSystemFont();
    QColor colour = option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
    if (group) {
        font.setBold(true);
        if (!selected)
            colour.setAlphaF(0.7f);
    }
    painter->setFont(font);
    painter->setPen(colour);
    const QString title = QFontMetrics(font).elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideRight, area.width());
    painter->drawText(area, Qt::AlignLeft | Qt::AlignVCenter, title);
    painter->restore();
}

QSize PLOutlineViewCell::sizeHint(const QStyleOptionViewItem &, const QModelIndex &index) const
{
    const QPixmap icon = index.data(Qt::DecorationRole).value<QPixmap>();
    const int iconWidth = icon.isNull() ? 0 : int(icon.deviceIndependentSize().width()) + 6;
    const int textWidth = QFontMetrics(smallSystemFont()).horizontalAdvance(index.data(Qt::DisplayRole).toString());
    return QSize(8 + iconWidth + textWidth, int(PLDocumentOutlineViewDataSource::rowHeight));
}
