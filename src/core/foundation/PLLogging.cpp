#include "PLLogging.h"

Q_LOGGING_CATEGORY(lcSettings, "plumeo.settings")
Q_LOGGING_CATEGORY(lcNotifications, "plumeo.notifications")
Q_LOGGING_CATEGORY(lcRegex, "plumeo.regex")
Q_LOGGING_CATEGORY(lcEncoding, "plumeo.encoding")
Q_LOGGING_CATEGORY(lcFile, "plumeo.file")
Q_LOGGING_CATEGORY(lcOutline, "plumeo.outline")
Q_LOGGING_CATEGORY(lcOutlineDump, "plumeo.outline.dump", QtWarningMsg)
Q_LOGGING_CATEGORY(lcHighlighter, "plumeo.highlighter")
Q_LOGGING_CATEGORY(lcTypesetting, "plumeo.typesetting")
Q_LOGGING_CATEGORY(lcSyncTex, "plumeo.synctex")
Q_LOGGING_CATEGORY(lcDocument, "plumeo.document")
Q_LOGGING_CATEGORY(lcUi, "plumeo.ui")
