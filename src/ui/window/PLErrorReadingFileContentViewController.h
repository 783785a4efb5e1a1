#pragma once

#include "ui/window/AttachedWindow.h"
#include "core/foundation/PLStringEncoding.h"
#include "ui/window/XSViewController.h"

#include <QPointer>

class PLErrorReadingFileContentViewControllerDelegate;
class PLFile;
class PLFileEncodingComboBoxDataSource;
class QComboBox;
class QLabel;
class QPushButton;
class QToolButton;

// The notice a pane shows above a file whose text was not read properly, with a popup from which
// the user re-opens the file in another encoding.
class PLErrorReadingFileContentViewController : public XSViewController
{
    Q_OBJECT

public:
    explicit PLErrorReadingFileContentViewController(XSWindowController *windowController, QObject *parent = nullptr);
    ~PLErrorReadingFileContentViewController() override;

    PLErrorReadingFileContentViewControllerDelegate *delegate() const { return m_delegate; }
    void setDelegate(PLErrorReadingFileContentViewControllerDelegate *delegate) { m_delegate = delegate; }

    // Words the notice and the popup after what went wrong with the file.
    void describeFile(const PLFile &file);

    QToolButton *moreInfoButton() const { return m_moreInfoButton; }
    QLabel *messageLabel() const { return m_messageLabel; }
    // The popup's content.
    QWidget *contentView() const { return m_contentView; }
    QComboBox *encodingComboBox() const { return m_encodingComboBox; }
    PLFileEncodingComboBoxDataSource *encodingComboBoxDatSource() const { return m_encodingComboBoxDatSource; }
    QPushButton *reOpenButton() const { return m_reOpenButton; }
    PLStringEncoding chosenEncoding() const { return m_chosenEncoding; }
    // The popup while it is shown.
    AttachedWindow *attachedWindow() const { return m_attachedWindow; }

    void handleEncodingComboBoxSelectionChange(int index);
    void toggleMoreInfo();
    // Keeps the popup's arrow on the more-info button while the window and the pane change size.
    void handleWindowResizeNotification();
    void reOpenFile();
    // Closes the popup, then takes the notice out of the pane.
    void close();
    // The pane is going: its popup goes with it.
    void removeObservations() override;

protected:
    QWidget *loadView() override;
    void awakeFromNib() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *loadAttachedWindowContentView();
    void closeAttachedWindow();
    QPoint moreInfoButtonCentreInWindow() const;
    void observeResizing(bool observe);
    static QLabel *label(const QString &text, QWidget *parent);
    static QPushButton *button(const QString &title, QWidget *parent);

    PLErrorReadingFileContentViewControllerDelegate *m_delegate = nullptr;
    PLFileEncodingComboBoxDataSource *m_encodingComboBoxDatSource;
    PLStringEncoding m_chosenEncoding = PLStringEncodings::UTF8;
    QLabel *m_messageLabel = nullptr;
    QToolButton *m_moreInfoButton = nullptr;
    // Unparented while the popup is closed; owned by this controller.
    QPointer<QWidget> m_contentView;
    QLabel *m_explanationLabel = nullptr;
    QComboBox *m_encodingComboBox = nullptr;
    QPushButton *m_reOpenButton = nullptr;
    QPointer<AttachedWindow> m_attachedWindow;
    // The button and every widget around it up to the window, watched while the popup is shown.
    QList<QPointer<QWidget>> m_observedWidgets;
};
