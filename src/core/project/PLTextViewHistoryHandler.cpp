#include "core/project/PLTextViewHistoryHandler.h"

#include "core/project/PLFile.h"

PLTextViewHistoryHandler::PLTextViewHistoryHandler()
    : m_backwardsRangeStack(std::make_shared<RangeStack>()), m_forwardsRangeStack(std::make_shared<RangeStack>())
{
}

QString PLTextViewHistoryHandler::keyForFile(const PLFile &file)
{
    return file.stringPath().isEmpty() ? file.name() : file.stringPath();
}

PLRange PLTextViewHistoryHandler::switchToFile(const std::shared_ptr<PLFile> &file)
{
    if (!file)
        return PLNotFoundRange;
    if (file != m_currentFile) {
        const QString key = keyForFile(*file);
        if (key.isEmpty())
            return PLNotFoundRange;
        if (m_currentFile) {
            m_backwardsFilesStack.pushItem(m_currentFile);
            m_forwardsFilesStack.clearStack();
        }
        if (!m_filesRangesBackwardStack.contains(key)) {
            m_filesRangesBackwardStack.insert(key, std::make_shared<RangeStack>());
            m_filesRangesForwardStack.insert(key, std::make_shared<RangeStack>());
        }
        m_backwardsRangeStack = m_filesRangesBackwardStack.value(key);
        m_forwardsRangeStack = m_filesRangesForwardStack.value(key);
        m_currentFile = file;
        const auto current = m_filesCurrentRanges.constFind(key);
        m_currentRangeItem = current == m_filesCurrentRanges.constEnd() ? std::nullopt : std::optional<PLRange>(*current);
    }
    return m_currentRangeItem.value_or(PLNotFoundRange);
}

std::shared_ptr<PLFile> PLTextViewHistoryHandler::getFileInDirection(qint32 direction)
{
    FileStack *from = nullptr;
    FileStack *opposite = nullptr;
    if (direction == PLHistoryDirectionForwards) {
        from = &m_forwardsFilesStack;
        opposite = &m_backwardsFilesStack;
    } else if (direction == PLHistoryDirectionBackwards) {
        from = &m_backwardsFilesStack;
        opposite = &m_forwardsFilesStack;
    } else {
        return nullptr;
    }
    auto file = from->popItem();
    if (!file)
        return nullptr;
    if (m_currentFile)
        opposite->pushItem(m_currentFile);
    m_currentFile = *file;
    return m_currentFile;
}

bool PLTextViewHistoryHandler::hasMoreFilesInDirection(qint32 direction) const
{
    return direction == PLHistoryDirectionForwards ? !m_forwardsFilesStack.isEmpty() : !m_backwardsFilesStack.isEmpty();
}

void PLTextViewHistoryHandler::pushRangeToHistoryStack(PLRange range)
{
    if (m_currentRangeItem == range)
        return;
    if (m_currentRangeItem)
        m_backwardsRangeStack->pushItem(*m_currentRangeItem);
    setCurrentRange(range);
    m_forwardsRangeStack->clearStack();
}

PLRange PLTextViewHistoryHandler::getRangeInDirection(qint32 direction)
{
    RangeStack *from = nullptr;
    RangeStack *opposite = nullptr;
    if (direction == PLHistoryDirectionForwards) {
        from = m_forwardsRangeStack.get();
        opposite = m_backwardsRangeStack.get();
    } else if (direction == PLHistoryDirectionBackwards) {
        from = m_backwardsRangeStack.get();
        opposite = m_forwardsRangeStack.get();
    } else {
        return PLNotFoundRange;
    }
    const auto range = from->popItem();
    if (!range)
        return PLNotFoundRange;
    if (m_currentRangeItem)
        opposite->pushItem(*m_currentRangeItem);
    setCurrentRange(*range);
    return *range;
}

bool PLTextViewHistoryHandler::hasMoreRangesInDirection(qint32 direction) const
{
    return direction == PLHistoryDirectionForwards ? !m_forwardsRangeStack->isEmpty() : !m_backwardsRangeStack->isEmpty();
}

void PLTextViewHistoryHandler::setCurrentRange(PLRange range)
{
    m_currentRangeItem = range;
    if (m_currentFile)
        m_filesCurrentRanges.insert(keyForFile(*m_currentFile), range);
}
