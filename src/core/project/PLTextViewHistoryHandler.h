#pragma once

#include "core/foundation/PLRange.h"
#include "core/editor/PLStack.h"

#include <QHash>
#include <QString>

#include <memory>
#include <optional>

class PLFile;

// The directions of history requests: left and right in the pane, back and forward in the trail.
inline constexpr qint32 PLHistoryDirectionBackwards = 0;
inline constexpr qint32 PLHistoryDirectionForwards = 1;

// The navigation history of one editor: a back/forward trail of the selections made in each file,
// kept per file so a file finds its trail again when it is shown anew, and a back/forward trail of
// the files shown. Any direction other than backwards and forwards finds nothing.
class PLTextViewHistoryHandler
{
public:
    using RangeStack = PLStack<PLRange>;
    using FileStack = PLStack<std::shared_ptr<PLFile>>;

    PLTextViewHistoryHandler();

    // Makes the file current, continuing the file trail, and answers its current range, or the
    // not-found range when it has none or cannot be tracked.
    PLRange switchToFile(const std::shared_ptr<PLFile> &file);
    // Steps along the file trail; the range trail follows when the file is shown (switchToFile).
    std::shared_ptr<PLFile> getFileInDirection(qint32 direction);
    bool hasMoreFilesInDirection(qint32 direction) const;

    // Records a new current range in the current file's trail; a new branch drops the forward part.
    void pushRangeToHistoryStack(PLRange range);
    // Steps along the current file's range trail; the not-found range when there is no step.
    PLRange getRangeInDirection(qint32 direction);
    bool hasMoreRangesInDirection(qint32 direction) const;

    const std::shared_ptr<PLFile> &currentFile() const { return m_currentFile; }
    const std::optional<PLRange> &currentRangeItem() const { return m_currentRangeItem; }

    // A file is tracked under its path, an untitled file under its name; empty means not tracked.
    static QString keyForFile(const PLFile &file);

private:
    void setCurrentRange(PLRange range);

    std::shared_ptr<RangeStack> m_backwardsRangeStack;
    std::shared_ptr<RangeStack> m_forwardsRangeStack;
    QHash<QString, std::shared_ptr<RangeStack>> m_filesRangesBackwardStack;
    QHash<QString, std::shared_ptr<RangeStack>> m_filesRangesForwardStack;
    QHash<QString, PLRange> m_filesCurrentRanges;
    FileStack m_backwardsFilesStack;
    FileStack m_forwardsFilesStack;
    std::optional<PLRange> m_currentRangeItem;
    std::shared_ptr<PLFile> m_currentFile;
};
