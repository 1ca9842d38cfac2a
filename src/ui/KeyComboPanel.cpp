#include <rkcore/KeyComboPanel.h>

#include <rkcore/FrameworkResources.h>
#include <rkcore/KeyBroadcaster.h>
#include <rkcore/Logging.h>
#include <rkcore/NotificationCenter.h>

#include <QApplication>
#include <QBuffer>
#include <QCoreApplication>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QUiLoader>

namespace rk {

namespace {

const QString kKeyEventName = QStringLiteral("KeyBraodcasterKeyEvent");

// Builds KeyBroadcaster for the interface file's custom widget.
class PanelLoader final : public QUiLoader {
public:
    QWidget *createWidget(const QString &className, QWidget *parent, const QString &name) override
    {
        if (className == QLatin1String("KeyBroadcaster")) {
            auto *widget = new KeyBroadcaster(parent);
            widget->setObjectName(name);
            return widget;
        }
        return QUiLoader::createWidget(className, parent, name);
    }
};

} // namespace

KeyComboPanel::KeyComboPanel(Tag /*unused*/) {}

KeyComboPanel::~KeyComboPanel()
{
    NotificationCenter::defaultCenter().removeObserver(this);
    setKeyCombo(nullptr);
    delete window_.data(); // null when a window it ran on took it along
}

KeyComboPanel *KeyComboPanel::sharedPanel()
{
    // Lives until the process ends; a failed load is tried again next time.
    static std::shared_ptr<KeyComboPanel> *shared = new std::shared_ptr<KeyComboPanel>;
    if (!*shared) *shared = create();
    return shared->get();
}

std::shared_ptr<KeyComboPanel> KeyComboPanel::create()
{
    auto panel = std::make_shared<KeyComboPanel>(Tag{});
    if (!panel->load()) {
        qCWarning(
            rkcoreLog, "%s",
            qUtf8Printable(QCoreApplication::translate("KeyComboPanel", "Failed to load KeyComboPanel nib file.")));
        return nullptr;
    }
    panel->clear();
    KeyComboPanel *raw = panel.get();
    NotificationCenter::defaultCenter().addObserver(raw, kKeyEventName, nullptr,
                                                    [raw](const Notification &note) { raw->keyEvent(note); });
    return panel;
}

bool KeyComboPanel::load()
{
    const std::optional<QByteArray> data = frameworkResourceData(QStringLiteral("KeyComboPanel.ui"));
    if (!data) return false;
    QBuffer buffer;
    buffer.setData(*data);
    if (!buffer.open(QIODevice::ReadOnly)) return false;
    PanelLoader loader;
    std::unique_ptr<QWidget> root(loader.load(&buffer));
    auto *dialog = qobject_cast<QDialog *>(root.get());
    if (dialog == nullptr) return false;
    auto *field = dialog->findChild<QLineEdit *>(QStringLiteral("mTextField"));
    auto *broadcaster = dialog->findChild<KeyBroadcaster *>();
    auto *okButton = dialog->findChild<QPushButton *>(QStringLiteral("okButton"));
    auto *cancelButton = dialog->findChild<QPushButton *>(QStringLiteral("cancelButton"));
    auto *clearButton = dialog->findChild<QPushButton *>(QStringLiteral("clearButton"));
    if (field == nullptr || broadcaster == nullptr || okButton == nullptr || cancelButton == nullptr ||
        clearButton == nullptr) {
        return false; // an interface file without its outlets is as good as none
    }
    connect(okButton, &QPushButton::clicked, this, &KeyComboPanel::ok);
    connect(cancelButton, &QPushButton::clicked, this, &KeyComboPanel::cancel);
    connect(clearButton, &QPushButton::clicked, this, &KeyComboPanel::clear);
    mTextField = field;
    broadcaster_ = broadcaster;
    window_ = dialog;
    (void)root.release(); // owned through window_ from now on
    return true;
}

QDialog *KeyComboPanel::window() const
{
    return window_.data();
}

KeyBroadcaster *KeyComboPanel::broadcaster() const
{
    return broadcaster_.data();
}

int KeyComboPanel::runModal()
{
    QDialog *dialog = window_.data();
    if (dialog == nullptr) return 0;
    if (QScreen *screen = dialog->screen() != nullptr ? dialog->screen() : QGuiApplication::primaryScreen()) {
        dialog->adjustSize();
        dialog->move(screen->availableGeometry().center() - dialog->rect().center());
    }
    dialog->setWindowModality(Qt::ApplicationModal);
    if (broadcaster_) broadcaster_->setFocus();
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
    const int result = dialog->exec();
    dialog->hide();
    return result;
}

void KeyComboPanel::runModalForWindow(QWidget *window, KeyComboPanelDelegate *delegate)
{
    QDialog *dialog = window_.data();
    if (dialog == nullptr) return;
    dialog->setParent(window, dialog->windowFlags());
    dialog->setWindowModality(Qt::WindowModal);
    connect(
        dialog, &QDialog::finished, this,
        [this, delegate](int result) {
            if (QDialog *d = window_.data()) d->setParent(nullptr, d->windowFlags());
            sheetDidEnd(result, delegate);
        },
        Qt::SingleShotConnection);
    if (broadcaster_) broadcaster_->setFocus();
    dialog->open();
    dialog->activateWindow();
}

void KeyComboPanel::sheetDidEnd(int returnCode, KeyComboPanelDelegate *contextInfo)
{
    if (contextInfo != nullptr) contextInfo->hotKeyGrabbedWithResult(returnCode, *this);
}

void KeyComboPanel::ok()
{
    if (QDialog *dialog = window_.data()) dialog->done(1);
}

void KeyComboPanel::cancel()
{
    if (QDialog *dialog = window_.data()) dialog->done(0);
}

void KeyComboPanel::clear()
{
    setKeyCombo(KeyCombo::clearKeyCombo());
}

void KeyComboPanel::keyEvent(const Notification &notification)
{
    const auto keyCode = static_cast<int16_t>(notification.userInfo.value(QStringLiteral("KeyCode")).toInt());
    const auto modifiers = static_cast<int32_t>(notification.userInfo.value(QStringLiteral("Modifiers")).toInt());
    setKeyCombo(KeyCombo::keyComboWithKeyCode(keyCode, modifiers));
}

void KeyComboPanel::setKeyCombo(std::shared_ptr<KeyCombo> combo)
{
    mKeyCombo = std::move(combo);
    _keyComboChanged();
}

void KeyComboPanel::setKeyName(const QString & /*name*/) {}

void KeyComboPanel::_keyComboChanged()
{
    if (QLineEdit *field = mTextField.data()) field->setText(mKeyCombo ? mKeyCombo->userDisplayRep() : QString(""));
}

} // namespace rk
