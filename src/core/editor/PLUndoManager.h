#pragma once

#include <QObject>

#include <memory>
#include <vector>

// One change the history can take back and give again. It is recorded once it has taken effect,
// so recording it runs nothing.
class PLUndoCommand
{
public:
    virtual ~PLUndoCommand() = default;
    virtual void undo() = 0;
    virtual void redo() = 0;
};

// The history of one text: a list of steps and the index of the next step to redo. A step is one
// recorded change, or all the changes recorded between beginMacro and endMacro, taken back and
// given again together. The clean index marks the step where the text was last saved; a new change
// recorded after undoing past it leaves no step clean.
class PLUndoManager : public QObject
{
    Q_OBJECT

public:
    explicit PLUndoManager(QObject *parent = nullptr);
    ~PLUndoManager() override;

    // Drops the steps that could be redone and records the change as a step of its own, or as part
    // of the open group.
    void push(std::unique_ptr<PLUndoCommand> command);
    // Groups may nest; the outermost one becomes a single step when it ends, even an empty one.
    void beginMacro();
    void endMacro();

    // Neither runs, and neither can, while a group is open.
    void undo();
    void redo();
    bool canUndo() const { return m_openGroups == 0 && m_index > 0; }
    bool canRedo() const { return m_openGroups == 0 && m_index < count(); }

    int count() const { return int(m_steps.size()); }
    int index() const { return m_index; }

    // Marks the current step as the saved one (refused while a group is open).
    void setClean();
    bool isClean() const { return m_openGroups == 0 && m_index == m_cleanIndex; }
    // Forgets every step: the text as it stands is the clean one.
    void clear();

signals:
    // After every step taken, undone or redone, and after clear.
    void indexChanged(int index);
    void cleanChanged(bool clean);

private:
    using Step = std::vector<std::unique_ptr<PLUndoCommand>>;

    void append(Step step);
    void setIndex(int index, bool clean);

    std::vector<Step> m_steps;
    Step m_group;
    int m_openGroups = 0;
    int m_index = 0;
    // -1 when no step is clean any longer.
    int m_cleanIndex = 0;
};
