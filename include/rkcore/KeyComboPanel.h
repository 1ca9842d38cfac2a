// KeyComboPanel: the panel in which the user presses a new key combination.
// Its window comes from the interface file "KeyComboPanel" (the framework
// resource "KeyComboPanel.ui", loaded at run time): a KeyBroadcaster that
// receives the presses, a text field that shows the combination, and the
// buttons OK, Cancel and Clear. Every live panel follows every broadcaster's
// "KeyBraodcasterKeyEvent" notification.
//
// Two ways of running: runModal (application-modal, answers the result) or
// runModalForWindow (window-modal on a window, the result reaching the
// delegate). OK ends with 1, Cancel with 0; the caller then reads keyCombo().
//
// Failure: when the interface file is missing or unusable, the factories
// answer nullptr and "Failed to load KeyComboPanel nib file." (translated,
// context "KeyComboPanel") goes to the rkcore log.
//
// Ownership: create() answers an owned panel; sharedPanel() one that lives
// until the process ends. Thread: GUI thread.
#pragma once

#include <QDialog>
#include <QLineEdit>
#include <QObject>
#include <QPointer>

#include <memory>

#include <rkcore/KeyBroadcaster.h>
#include <rkcore/KeyCombo.h>
#include <rkcore/rkcore_widgets_export.h>

namespace rk {

class KeyComboPanel;
struct Notification;

// Receives the result of a panel run with runModalForWindow.
class RKCORE_WIDGETS_EXPORT KeyComboPanelDelegate {
public:
    // `result` is 1 for OK, 0 for Cancel.
    virtual void hotKeyGrabbedWithResult(int result, KeyComboPanel &panel) = 0;

protected:
    KeyComboPanelDelegate() = default;
    ~KeyComboPanelDelegate() = default;
    KeyComboPanelDelegate(const KeyComboPanelDelegate &) = default;
    KeyComboPanelDelegate &operator=(const KeyComboPanelDelegate &) = default;
};

class RKCORE_WIDGETS_EXPORT KeyComboPanel final : public QObject {
    Q_OBJECT
    struct Tag {};

public:
    // The shared panel, made on first call; nullptr when that failed (a later
    // call tries again).
    static KeyComboPanel *sharedPanel();
    // A new panel showing the cleared combination, or nullptr (see Failure).
    static std::shared_ptr<KeyComboPanel> create();

    explicit KeyComboPanel(Tag);
    ~KeyComboPanel() override;

    // The panel's window (the text field's window); null after a window it
    // was shown on as a sheet destroyed it.
    QDialog *window() const;
    QLineEdit *textField() const { return mTextField.data(); }
    KeyBroadcaster *broadcaster() const;

    // Centres the window, brings it to the front, runs it application-modal
    // until OK or Cancel, hides it and answers 1 (OK) or 0 (Cancel).
    int runModal();
    // Shows the panel window-modal on `window` and returns at once; OK or
    // Cancel ends it and calls delegate->hotKeyGrabbedWithResult(result,
    // *this). `delegate` (may be nullptr) must outlive the run. `window`
    // becomes the panel window's parent while it runs.
    void runModalForWindow(QWidget *window, KeyComboPanelDelegate *delegate);
    void sheetDidEnd(int returnCode, KeyComboPanelDelegate *contextInfo);

    void ok();     // hides the window and ends the run with 1
    void cancel(); // hides the window and ends the run with 0
    void clear();  // shows the cleared combination

    // A broadcaster's notification: its "KeyCode" (16-bit) and "Modifiers"
    // (32-bit) become the panel's combination.
    void keyEvent(const Notification &notification);

    const std::shared_ptr<KeyCombo> &keyCombo() const { return mKeyCombo; }
    void setKeyCombo(std::shared_ptr<KeyCombo> combo);
    void setKeyName(const QString &name); // does nothing
    // Shows the combination's userDisplayRep in the text field, "" for none.
    void _keyComboChanged();

private:
    bool load();

    QPointer<QLineEdit> mTextField;
    std::shared_ptr<KeyCombo> mKeyCombo;
    QPointer<QDialog> window_;
    QPointer<KeyBroadcaster> broadcaster_;
};

} // namespace rk
