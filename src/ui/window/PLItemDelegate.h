#pragma once

#include <QStyledItemDelegate>

// An item delegate that draws its own text and icon over the style's row background.
class PLItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    // The selection and hover background of the row, without the style's text and icon.
    void drawItemBackground(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
};
