#pragma once

#include <QTreeView>

#include <memory>

class PLOutlineNode;
class PLSideBarViewController;

// The sidebar's tree. Every click on a row reports its node, also a click on the row that is
// already selected, so the user can always jump back to a heading.
class PLDocumentOutlineView : public QTreeView
{
    Q_OBJECT

public:
    explicit PLDocumentOutlineView(QWidget *parent = nullptr);

    PLSideBarViewController *delegate() const { return m_delegate; }
    void setDelegate(PLSideBarViewController *delegate) { m_delegate = delegate; }

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void reportNodeAt(const QModelIndex &index);

    PLSideBarViewController *m_delegate = nullptr;
};
