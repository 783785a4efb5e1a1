#include "core/editor/PLUndoManager.h"

#include "core/foundation/PLLogging.h"

#include <utility>

PLUndoManager::PLUndoManager(QObject *parent) : QObject(parent) {}

PLUndoManager::~PLUndoManager() = default;

void PLUndoManager::push(std::unique_ptr<PLUndoCommand> command)
{
    if (m_openGroups > 0) {
        m_group.push_back(std::move(command));
        return;
    }
    Step step;
    step.push_back(std::move(command));
    append(std::move(step));
}

void PLUndoManager::beginMacro()
{
    ++m_openGroups;
}

void PLUndoManager::endMacro()
{
    if (m_openGroups == 0) {
        qCWarning(lcFile) << "undo group ended without one open";
        return;
    }
    if (--m_openGroups == 0)
        append(std::exchange(m_group, Step()));
}

void PLUndoManager::append(Step step)
{
    m_steps.resize(size_t(m_index));
    if (m_cleanIndex > m_index)
        m_cleanIndex = -1;
    m_steps.push_back(std::move(step));
    setIndex(m_index + 1, false);
}

void PLUndoManager::undo()
{
    if (!canUndo())
        return;
    const Step &step = m_steps[size_t(m_index - 1)];
    for (auto command = step.rbegin(); command != step.rend(); ++command)
        (*command)->undo();
    setIndex(m_index - 1, false);
}

void PLUndoManager::redo()
{
    if (!canRedo())
        return;
    for (const auto &command : m_steps[size_t(m_index)])
        command->redo();
    setIndex(m_index + 1, false);
}

void PLUndoManager::setClean()
{
    if (m_openGroups == 0)
        setIndex(m_index, true);
}

void PLUndoManager::clear()
{
    if (m_steps.empty() && m_openGroups == 0)
        return;
    const bool wasClean = isClean();
    m_steps.clear();
    m_group.clear();
    m_openGroups = 0;
    m_index = 0;
    m_cleanIndex = 0;
    emit indexChanged(0);
    if (!wasClean)
        emit cleanChanged(true);
}

void PLUndoManager::setIndex(int index, bool clean)
{
    const bool wasClean = m_index == m_cleanIndex;
    if (index != m_index) {
        m_index = index;
        emit indexChanged(m_index);
    }
    if (clean)
        m_cleanIndex = m_index;
    const bool isNowClean = m_index == m_cleanIndex;
    if (isNowClean != wasClean)
        emit cleanChanged(isNowClean);
}
