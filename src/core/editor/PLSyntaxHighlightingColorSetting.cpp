#include "core/editor/PLSyntaxHighlightingColorSetting.h"

PLSyntaxHighlightingColorSetting::PLSyntaxHighlightingColorSetting(QString title, QString userDefaultsBackgroundKey,
                                                                   QString backgroundNotification,
                                                                   QString userDefaultsForegroundKey,
                                                                   QString foregroundNotification)
    : m_title(std::move(title)),
      m_foreground(std::move(userDefaultsForegroundKey)),
      m_foregroundNotification(std::move(foregroundNotification)),
      m_background(std::move(userDefaultsBackgroundKey)),
      m_backgroundNotification(std::move(backgroundNotification))
{
}
