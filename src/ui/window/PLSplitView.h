#pragma once

#include <QSplitter>

#include <functional>

// A splitter whose first divider answers to rules: one for every position the user drags it to,
// and one that keeps it in bounds whenever the splitter is resized.
class PLSplitView : public QSplitter
{
    Q_OBJECT

public:
    using Constraint = std::function<int(int proposedPosition)>;

    explicit PLSplitView(Qt::Orientation orientation, QWidget *parent = nullptr);

    void setConstraint(Constraint constraint) { m_constraint = std::move(constraint); }
    void setResizeRule(Constraint rule) { m_resizeRule = std::move(rule); }
    int constrainedPosition(int proposedPosition) const;
    // Places the first divider; when the splitter has no size yet, as soon as it gets one.
    void setFirstDividerPosition(int position);

protected:
    QSplitterHandle *createHandle() override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void moveFirstDivider(int position);

    Constraint m_constraint;
    Constraint m_resizeRule;
    int m_pendingFirstDividerPosition = -1;
};
