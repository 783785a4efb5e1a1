#include "PLApplicationController.h"

#include "PLConstants.h"
#include "PLUserDefaults.h"
#include "PLUserDefaultsConstants.h"

#include <QApplication>
#include <QMainWindow>

PLApplicationController::PLApplicationController(QObject *parent)
    : QObject(parent), m_constants(std::make_unique<PLConstants>())
{
}

PLApplicationController::~PLApplicationController() = default;

void PLApplicationController::registerDefaults()
{
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
}

void PLApplicationController::applicationDidFinishLaunching(const QStringList &filesToOpen)
{
    Q_UNUSED(filesToOpen);
    m_mainWindow = std::make_unique<QMainWindow>();
    m_mainWindow->setWindowTitle(QApplication::applicationDisplayName());
    m_mainWindow->resize(1000, 700);
    m_mainWindow->show();
}
