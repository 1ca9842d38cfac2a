// Root Runner: pick an application (a program, an application folder, a
// desktop entry) and open it as administrator through rk::RBRootRunner.
//
//   root-runner [PATH]     PATH preselects the item
//
// The service's alerts are shown as message boxes, its beep is the desktop's;
// what came of a request is shown under the path.
#include <rkcore/Alert.h>
#include <rkcore/RBRootRunner.h>

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

namespace {

int showAlert(const rk::Alert &alert)
{
    QMessageBox box(QMessageBox::Warning, alert.title, alert.message);
    QPushButton *defaultButton = box.addButton(alert.defaultButton, QMessageBox::AcceptRole);
    QPushButton *alternate =
        alert.alternateButton.isNull() ? nullptr : box.addButton(alert.alternateButton, QMessageBox::RejectRole);
    QPushButton *other =
        alert.otherButton.isNull() ? nullptr : box.addButton(alert.otherButton, QMessageBox::DestructiveRole);
    box.setDefaultButton(defaultButton);
    box.exec();
    if (box.clickedButton() == alternate && alternate != nullptr) return 1;
    if (box.clickedButton() == other && other != nullptr) return 2;
    return 0;
}

class RootRunnerWindow final : public QWidget {
public:
    explicit RootRunnerWindow(const QString &initialPath)
    {
        setWindowTitle(QStringLiteral("Root Runner"));
        auto *layout = new QVBoxLayout(this);
        layout->addWidget(new QLabel(QStringLiteral("Choose an application to open as administrator:"), this));
        auto *row = new QHBoxLayout;
        m_path = new QLineEdit(initialPath, this);
        m_path->setMinimumWidth(360);
        auto *choose = new QPushButton(QStringLiteral("Choose…"), this);
        row->addWidget(m_path);
        row->addWidget(choose);
        layout->addLayout(row);
        m_status = new QLabel(this);
        layout->addWidget(m_status);
        auto *buttons = new QDialogButtonBox(this);
        m_run = buttons->addButton(QStringLiteral("Open as Administrator"), QDialogButtonBox::AcceptRole);
        buttons->addButton(QDialogButtonBox::Close);
        layout->addWidget(buttons);

        connect(choose, &QPushButton::clicked, this, &RootRunnerWindow::choose);
        connect(buttons, &QDialogButtonBox::accepted, this, &RootRunnerWindow::run);
        connect(buttons, &QDialogButtonBox::rejected, this, &QWidget::close);
        connect(m_path, &QLineEdit::textChanged, this,
                [this](const QString &text) { m_run->setEnabled(!text.isEmpty()); });
        m_run->setEnabled(!initialPath.isEmpty());
    }

private:
    void choose()
    {
        const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Choose an Application"), m_path->text(),
                                                          {}, nullptr, QFileDialog::DontResolveSymlinks);
        if (!path.isEmpty()) m_path->setText(path);
    }

    void run() { rk::RBRootRunner::openApplicationPathAsRoot(m_path->text()); }

    QLineEdit *m_path = nullptr;
    QLabel *m_status = nullptr;
    QPushButton *m_run = nullptr;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Root Runner"));
    rk::setAlertHandler(showAlert);
    rk::setBeepHandler([] { QApplication::beep(); });
    const QStringList arguments = QApplication::arguments();
    RootRunnerWindow window(arguments.size() > 1 ? arguments.at(1) : QString());
    window.show();
    return QApplication::exec();
}
