#include "ui/window/PLErrorReadingFileContentViewController.h"

#include "ui/window/AttachedWindow.h"
#include "ui/window/PLErrorReadingFileContentViewControllerDelegate.h"
#include "core/project/PLFile.h"
#include "core/project/PLFileEncodingComboBoxDataSource.h"

#include <QComboBox>
#include <QEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
// The encoding as a user knows it, which is not always the short name of the encodings list.
QString encodingDescription(PLStringEncoding encoding)
{
    switch (encoding) {
    case PLStringEncodings::UTF8:
        return QObject::tr("UTF-8");
    case PLStringEncodings::ISOLatin1:
        return QObject::tr("Latin 1 (ISO 8859-1)");
    case PLStringEncodings::ISOLatin2:
        return QObject::tr("Latin 2 (ISO 8859-2)");
    case PLStringEncodings::MacOSRoman:
        return QObject::tr("Mac OS Roman");
    default:
        return PLStringEncodings::isKnown(encoding) ? PLStringEncodings::converterName(encoding)
                                                     : QObject::tr("the encoding numbered %1").arg(encoding);
    }
}
}

PLErrorReadingFileContentViewController::PLErrorReadingFileContentViewController(XSWindowController *windowController,
                                                                                 QObject *parent)
    : XSViewController(QStringLiteral("PLErrorReadingFileView"), windowController, parent),
      m_encodingComboBoxDatSource(new PLFileEncodingComboBoxDataSource(this))
{
    view();
}

PLErrorReadingFileContentViewController::~PLErrorReadingFileContentViewController()
{
    closeAttachedWindow();
    delete m_contentView;
}

void PLErrorReadingFileContentViewController::closeAttachedWindow()
{
    observeResizing(false);
    // Forgotten before it goes: its own destruction sends events that must not reach it.
    AttachedWindow *attachedWindow = m_attachedWindow;
    m_attachedWindow = nullptr;
    if (!attachedWindow)
        return;
    attachedWindow->takeContent();
    delete attachedWindow;
}

QWidget *PLErrorReadingFileContentViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(nibName());
    view->setAutoFillBackground(true);
    // A pale warning colour that reads on light and dark themes alike.
    QPalette palette = view->palette();
    palette.setColor(QPalette::Window, QColor(0xfc, 0xf3, 0xcf));
    palette.setColor(QPalette::WindowText, QColor(0x3a, 0x2e, 0x00));
    view->setPalette(palette);
    auto *layout = new QHBoxLayout(view);
    layout->setContentsMargins(8, 4, 6, 4);
    auto *icon = new QLabel(view);
    const int iconSize = view->style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(view->style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(iconSize, iconSize));
    m_messageLabel = new QLabel(view);
    m_messageLabel->setWordWrap(true);
    m_messageLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_messageLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_moreInfoButton = new QToolButton(view);
    m_moreInfoButton->setText(tr("More Info…"));
    m_moreInfoButton->setCheckable(true);
    m_moreInfoButton->setToolTip(tr("Re-open the file in another encoding"));
    connect(m_moreInfoButton, &QToolButton::clicked, this, &PLErrorReadingFileContentViewController::toggleMoreInfo);
    layout->addWidget(icon);
    layout->addWidget(m_messageLabel, 1);
    layout->addWidget(m_moreInfoButton);
    m_contentView = loadAttachedWindowContentView();
    return view;
}

QWidget *PLErrorReadingFileContentViewController::loadAttachedWindowContentView()
{
    auto *content = new QWidget;
    content->setObjectName(QStringLiteral("PLErrorReadingFileAttachedWindowContentView"));
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(4, 4, 4, 4);
    m_explanationLabel = label(QString(), content);
    m_explanationLabel->setFixedWidth(300);
    m_encodingComboBox = new QComboBox(content);
    m_encodingComboBox->setModel(m_encodingComboBoxDatSource);
    m_reOpenButton = button(tr("Re-open"), content);
    m_reOpenButton->setDefault(true);
    connect(m_reOpenButton, &QPushButton::clicked, this, &PLErrorReadingFileContentViewController::reOpenFile);
    auto *row = new QHBoxLayout;
    row->addWidget(label(tr("Encoding:"), content));
    row->addWidget(m_encodingComboBox, 1);
    row->addWidget(m_reOpenButton);
    layout->addWidget(m_explanationLabel);
    layout->addLayout(row);
    return content;
}

QLabel *PLErrorReadingFileContentViewController::label(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::NoTextInteraction);
    return label;
}

QPushButton *PLErrorReadingFileContentViewController::button(const QString &title, QWidget *parent)
{
    return new QPushButton(title, parent);
}

void PLErrorReadingFileContentViewController::awakeFromNib()
{
    connect(m_encodingComboBox, &QComboBox::currentIndexChanged, this,
            &PLErrorReadingFileContentViewController::handleEncodingComboBoxSelectionChange);
    // The list starts at the encoding the preferences read files in; one outside the list shows
    // nothing chosen and leaves UTF-8 as the choice.
    m_encodingComboBox->setCurrentIndex(m_encodingComboBoxDatSource->currentIndex());
    m_chosenEncoding = m_encodingComboBoxDatSource->currentEncoding();
}

void PLErrorReadingFileContentViewController::describeFile(const PLFile &file)
{
    const QString tried = encodingDescription(file.encoding());
    if (!file.unreadableReason().isEmpty()) {
        m_messageLabel->setText(tr("%1 It is shown empty and is not saved over.").arg(file.unreadableReason()));
        m_explanationLabel->setText(tr("Once the file can be read, re-open it here. Choose the encoding it was "
                                       "written in if it is not %1.").arg(tried));
        return;
    }
    if (!QFileInfo::exists(file.stringPath())) {
        m_messageLabel->setText(tr("This file is not on disk; it opened empty and is written when you save."));
        m_explanationLabel->setText(tr("If the file has been put back in its place, re-open it here in the "
                                       "encoding it was written in."));
        return;
    }
    if (file.decodedEncoding() != file.encoding()) {
        m_messageLabel->setText(tr("This file is not valid %1; it was opened as %2, so some letters may look "
                                   "wrong.").arg(tried, encodingDescription(file.decodedEncoding())));
    } else {
        m_messageLabel->setText(tr("This file could not be read as %1.").arg(tried));
    }
    m_explanationLabel->setText(tr("Plumeo reads files in the encoding set in its preferences. Choose the "
                                   "encoding this file was written in and re-open it: it is then read, and "
                                   "saved, in that encoding."));
}

void PLErrorReadingFileContentViewController::handleEncodingComboBoxSelectionChange(int index)
{
    m_chosenEncoding = m_encodingComboBoxDatSource->encodingAtIndex(index);
}

void PLErrorReadingFileContentViewController::toggleMoreInfo()
{
    if (m_attachedWindow) {
        closeAttachedWindow();
        m_moreInfoButton->setChecked(false);
        return;
    }
    QWidget *window = view()->window();
    m_attachedWindow = new AttachedWindow(m_contentView, window, moreInfoButtonCentreInWindow(),
                                          m_moreInfoButton->height() / 2);
    m_attachedWindow->show();
    m_moreInfoButton->setChecked(true);
    observeResizing(true);
    m_encodingComboBox->setFocus();
}

QPoint PLErrorReadingFileContentViewController::moreInfoButtonCentreInWindow() const
{
    return m_moreInfoButton->mapTo(m_moreInfoButton->window(), m_moreInfoButton->rect().center());
}

void PLErrorReadingFileContentViewController::observeResizing(bool observe)
{
    for (const QPointer<QWidget> &widget : std::as_const(m_observedWidgets)) {
        if (widget)
            widget->removeEventFilter(this);
    }
    m_observedWidgets.clear();
    if (!observe)
        return;
    // A window resize moves the button only once the layouts below it have run, and a split or
    // a wider sidebar moves it without any resize of the window: every move on the way counts.
    for (QWidget *widget = m_moreInfoButton; widget; widget = widget->isWindow() ? nullptr : widget->parentWidget()) {
        widget->installEventFilter(this);
        m_observedWidgets << widget;
    }
}

bool PLErrorReadingFileContentViewController::eventFilter(QObject *watched, QEvent *event)
{
    if (m_attachedWindow && (event->type() == QEvent::Resize || event->type() == QEvent::Move))
        handleWindowResizeNotification();
    return XSViewController::eventFilter(watched, event);
}

void PLErrorReadingFileContentViewController::handleWindowResizeNotification()
{
    if (m_attachedWindow)
        m_attachedWindow->setPoint(moreInfoButtonCentreInWindow());
}

void PLErrorReadingFileContentViewController::reOpenFile()
{
    if (m_delegate)
        m_delegate->errorReadingFileContentViewControllerDidRequestReopeningOfFileUsingEncoding(this, m_chosenEncoding);
    // The re-open may have closed the notice, and the popup with it.
    if (m_attachedWindow)
        toggleMoreInfo();
}

void PLErrorReadingFileContentViewController::close()
{
    if (m_attachedWindow)
        toggleMoreInfo();
    QWidget *notice = view();
    notice->hide();
    notice->setParent(nullptr);
}

void PLErrorReadingFileContentViewController::removeObservations()
{
    if (m_attachedWindow)
        toggleMoreInfo();
    XSViewController::removeObservations();
}
