#pragma once

#include <QString>

// User-info keys of notifications. Each constant holds its own name.
inline const QString PLDictionaryKeyDocument = QStringLiteral("PLDictionaryKeyDocument");
inline const QString PLDictionaryKeyLogParser = QStringLiteral("PLDictionaryKeyLogParser");
inline const QString PLDictionaryKeyOutlineNodeAdded = QStringLiteral("PLDictionaryKeyOutlineNodeAdded");
inline const QString PLDictionaryKeyOutlineNodeRemoved = QStringLiteral("PLDictionaryKeyOutlineNodeRemoved");
inline const QString PLDictionaryKeyForegroundColor = QStringLiteral("PLDictionaryKeyForegroundColor");
inline const QString PLDictionaryKeyBackgroundColor = QStringLiteral("PLDictionaryKeyBackgroundColor");

// The user-info keys of PLDocumentDidPerformSaveAsAction.
inline const QString PLDocumentUserInfoKeyOldMainFile = QStringLiteral("oldMainFile");
inline const QString PLDocumentUserInfoKeyNewMainFile = QStringLiteral("newMainFile");
