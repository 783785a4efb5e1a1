#pragma once

#include <QString>

// Notification names. Each constant holds its own name.
inline const QString PLNotificationPdfTransformationWillStart = QStringLiteral("PLNotificationPdfTransformationWillStart");
inline const QString PLNotificationPdfTransformationDidFinish = QStringLiteral("PLNotificationPdfTransformationDidFinish");
inline const QString PLNotificationLogStringParserDidFinishParsing = QStringLiteral("PLNotificationLogStringParserDidFinishParsing");
inline const QString PLNotificationFileDidReloadContent = QStringLiteral("PLNotificationFileDidReloadContent");
inline const QString PLNotificationOutlineNodeWasAdded = QStringLiteral("PLNotificationOutlineNodeWasAdded");
inline const QString PLNotificationOutlineNodeWasRemoved = QStringLiteral("PLNotificationOutlineNodeWasRemoved");
inline const QString PLNotificationNameNodeDidChangeChildren = QStringLiteral("PLNotificationNameNodeDidChangeChildren");
inline const QString PLNotificationEditorBackgroundColorDidChange = QStringLiteral("PLNotificationEditorBackgroundColorDidChange");
inline const QString PLNotificationEditorLineHighlightColorDidChange = QStringLiteral("PLNotificationEditorLineHighlightColorDidChange");
inline const QString PLNotificationEditorTextStyleDidChange = QStringLiteral("PLNotificationEditorTextStyleDidChange");
inline const QString PLNotificationSplitViewDidBecomeKey = QStringLiteral("PLNotificationSplitViewDidBecomeKey");
inline const QString PLSplitViewControllerDidSplitView = QStringLiteral("PLSplitViewControllerDidSplitView");
inline const QString PLSplitViewControllerDidCloseSplitView = QStringLiteral("PLSplitViewControllerDidCloseSplitView");
inline const QString PLSplitViewControllerDidChangeSelectedSplitView = QStringLiteral("PLSplitViewControllerDidChangeSelectedSplitView");
inline const QString PLSplitViewControllerSelectedSplitViewDidChangeFile = QStringLiteral("PLSplitViewControllerSelectedSplitViewDidChangeFile");
inline const QString PLSplitViewControllerDidClosePDFView = QStringLiteral("PLSplitViewControllerDidClosePDFView");
inline const QString PLSplitViewControllerDidFocusOnPDFView = QStringLiteral("PLSplitViewControllerDidFocusOnPDFView");
inline const QString PLSplitViewTextViewDidChangeText = QStringLiteral("PLSplitViewTextViewDidChangeText");
inline const QString PLDocumentDidPerformSaveAsAction = QStringLiteral("PLDocumentDidPerformSaveAsAction");
