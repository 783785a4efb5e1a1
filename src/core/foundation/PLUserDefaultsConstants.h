#pragma once

#include <QString>
#include <QVariantMap>

// Settings keys. Each constant holds its own name; nothing writes a key as a literal.
inline const QString PLUserDefaultsEditorFontName = QStringLiteral("PLUserDefaultsEditorFontName");
inline const QString PLUserDefaultsEditorFontSize = QStringLiteral("PLUserDefaultsEditorFontSize");
inline const QString PLUserDefaultsUseBibTex = QStringLiteral("PLUserDefaultsUseBibTex");
inline const QString PLUserDefaultsFileEncoding = QStringLiteral("PLUserDefaultsFileEncoding");
inline const QString PLUserDefaultsTexLocation = QStringLiteral("PLUserDefaultsTexLocation");
inline const QString PLUserDefaultsPDFDisplayMode = QStringLiteral("PLUserDefaultsPDFDisplayMode");
inline const QString PLUserDefaultsSplitViewSetup = QStringLiteral("PLUserDefaultsSplitViewSetup");
inline const QString PLUserDefaultsTypesettingEngine = QStringLiteral("PLUserDefaultsTypesettingEngine");
// Whether the engine may run other programs (--shell-escape); on by default.
inline const QString PLUserDefaultsShellEscapeEnabled = QStringLiteral("PLUserDefaultsShellEscapeEnabled");
inline const QString PLUserDefaultsEditorBackgroundColor = QStringLiteral("PLUserDefaultsEditorBackgroundColor");
inline const QString PLUserDefaultsEditorColorText = QStringLiteral("PLUserDefaultsEditorColorText");
inline const QString PLUserDefaultsEditorColorFunctions = QStringLiteral("PLUserDefaultsEditorColorFunctions");
inline const QString PLUserDefaultsEditorColorFunctionsBackground = QStringLiteral("PLUserDefaultsEditorColorFunctionsBackground");
inline const QString PLUserDefaultsEditorColorBrackets = QStringLiteral("PLUserDefaultsEditorColorBrackets");
inline const QString PLUserDefaultsEditorColorBracketsBackground = QStringLiteral("PLUserDefaultsEditorColorBracketsBackground");
inline const QString PLUserDefaultsEditorColorStructureDividers = QStringLiteral("PLUserDefaultsEditorColorStructureDividers");
inline const QString PLUserDefaultsEditorColorStructureDividersBackground = QStringLiteral("PLUserDefaultsEditorColorStructureDividersBackground");
inline const QString PLUserDefaultsEditorColorCommentedAreas = QStringLiteral("PLUserDefaultsEditorColorCommentedAreas");
inline const QString PLUserDefaultsEditorColorCommentedAreasBackground = QStringLiteral("PLUserDefaultsEditorColorCommentedAreasBackground");
inline const QString PLUserDefaultsEditorColorDollarSignAreas = QStringLiteral("PLUserDefaultsEditorColorDollarSignAreas");
inline const QString PLUserDefaultsEditorColorDollarSignAreasBackground = QStringLiteral("PLUserDefaultsEditorColorDollarSignAreasBackground");
inline const QString PLUserDefaultsEditorColorBIBType = QStringLiteral("PLUserDefaultsEditorColorBIBType");
inline const QString PLUserDefaultsEditorColorBIBTypeBackground = QStringLiteral("PLUserDefaultsEditorColorBIBTypeBackground");
inline const QString PLUserDefaultsEditorColorBIBLabel = QStringLiteral("PLUserDefaultsEditorColorBIBLabel");
inline const QString PLUserDefaultsEditorColorBIBLabelBackground = QStringLiteral("PLUserDefaultsEditorColorBIBLabelBackground");
inline const QString PLUserDefaultsEditorColorBIBKey = QStringLiteral("PLUserDefaultsEditorColorBIBKey");
inline const QString PLUserDefaultsEditorColorBIBKeyBackground = QStringLiteral("PLUserDefaultsEditorColorBIBKeyBackground");
inline const QString PLUserDefaultsEditorColorBIBValue = QStringLiteral("PLUserDefaultsEditorColorBIBValue");
inline const QString PLUserDefaultsEditorColorBIBValueBackground = QStringLiteral("PLUserDefaultsEditorColorBIBValueBackground");
inline const QString PLUserDefaultsEditorColorLineHighlighter = QStringLiteral("PLUserDefaultsEditorColorLineHighlighter");
inline const QString PLUserDefaultsEditorColorLineHighlighterBorders = QStringLiteral("PLUserDefaultsEditorColorLineHighlighterBorders");

// Not registered: readers handle a missing value themselves.
inline const QString PLDocumentSidebarWidth = QStringLiteral("PLDocumentSidebarWidth");
inline const QString PLUserDefaultsLastDirectorySaved = QStringLiteral("PLUserDefaultsLastDirectorySaved");
inline const QString PLUserDefaultsUntitledDocumentText = QStringLiteral("PLUserDefaultsUntitledDocumentText");
inline const QString PLUserDefaultsFindAndReplaceOtherResultsBackground = QStringLiteral("PLUserDefaultsFindAndReplaceOtherResultsBackground");
// The recently opened projects as file URLs, most recent first; kept by the document controller.
inline const QString PLUserDefaultsRecentDocumentURLs = QStringLiteral("PLUserDefaultsRecentDocumentURLs");

// Keys of one pane entry in the PLUserDefaultsSplitViewSetup list.
inline const QString PLSplitViewSetupContentType = QStringLiteral("PLSplitViewSetupContentType");
inline const QString PLSplitViewSetupContentPercentageWidth = QStringLiteral("PLSplitViewSetupContentPercentageWidth");

// Every registered default, registered once per process before any window exists.
QVariantMap PLRegisteredUserDefaults();
