#pragma once

#include "core/foundation/PLRange.h"

#include <QWidget>

class PLTextView;

// A short-lived highlight over a find hit, so the eye finds it after the view jumped: it fades
// out by itself and then goes away.
class PLFindIndicator : public QWidget
{
    Q_OBJECT

public:
    // Flashes over the range of the text view, which must be scrolled into view already.
    static PLFindIndicator *flash(PLTextView *textView, PLRange range);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    explicit PLFindIndicator(QWidget *parent);
};
