#pragma once

#include "core/document/PLDocument.h"
#include "ui/app/PLDocumentController.h"
#include "PLTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>


// Helpers of the widget tests.
namespace PLTest {

// A project in a temporary folder, written file by file.
class Project
{
public:
    QString path(const QString &relative) const { return QDir(m_folder.path()).filePath(relative); }
    QString write(const QString &relative, const QString &text)
    {
        writeFile(path(relative), text.toUtf8());
        return path(relative);
    }

private:
    QTemporaryDir m_folder;
};

// Answers the next message box with the button, as the user would: from inside the box's own
// event loop. Records the box's text.
inline void answerNextMessageBox(QMessageBox::StandardButton button, QString *text = nullptr)
{
    auto *timer = new QTimer(qApp);
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, button, text] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        if (text)
            *text = box->text();
        timer->stop();
        timer->deleteLater();
        box->button(button)->click();
    });
    timer->start();
}

// Closes every project, throwing away what a test left unsaved.
inline void closeDiscardingChanges(PLDocumentController &documents)
{
    for (PLDocument *document : documents.documents()) {
        if (document->isDocumentEdited())
            answerNextMessageBox(QMessageBox::Discard);
    }
    documents.closeAllDocuments();
}

}
