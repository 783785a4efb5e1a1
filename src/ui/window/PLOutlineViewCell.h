#pragma once

#include "ui/window/PLItemDelegate.h"

// Draws a sidebar row: the icon of the node's kind before its title, in the small system font,
// 25 points high. The main file's root is a group row: a heading rather than an entry.
class PLOutlineViewCell : public PLItemDelegate
{
    Q_OBJECT

public:
    using PLItemDelegate::PLItemDelegate;

    static QFont smallSystemFont();

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
