#include "core/foundation/PLLogging.h"

Q_LOGGING_CATEGORY(lcSettings, "plumeo.settings", QtInfoMsg)
Q_LOGGING_CATEGORY(lcNotifications, "plumeo.notifications", QtInfoMsg)
Q_LOGGING_CATEGORY(lcRegex, "plumeo.regex", QtInfoMsg)
Q_LOGGING_CATEGORY(lcEncoding, "plumeo.encoding", QtInfoMsg)
Q_LOGGING_CATEGORY(lcFile, "plumeo.file", QtInfoMsg)
Q_LOGGING_CATEGORY(lcOutline, "plumeo.outline", QtInfoMsg)
Q_LOGGING_CATEGORY(lcOutlineDump, "plumeo.outline.dump", QtInfoMsg)
Q_LOGGING_CATEGORY(lcHighlighter, "plumeo.highlighter", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTypesetting, "plumeo.typesetting", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSyncTex, "plumeo.synctex", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDocument, "plumeo.document", QtInfoMsg)
Q_LOGGING_CATEGORY(lcUi, "plumeo.ui", QtInfoMsg)
