#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

class QMainWindow;
class PLConstants;

// The application's delegate: registers the defaults before any window exists, owns the shared
// images and decides what to show at launch.
class PLApplicationController : public QObject
{
    Q_OBJECT

public:
    explicit PLApplicationController(QObject *parent = nullptr);
    ~PLApplicationController() override;

    // Registers every default setting; called before the first window is made.
    static void registerDefaults();

    void applicationDidFinishLaunching(const QStringList &filesToOpen);

private:
    std::unique_ptr<PLConstants> m_constants;
    std::unique_ptr<QMainWindow> m_mainWindow;
};
