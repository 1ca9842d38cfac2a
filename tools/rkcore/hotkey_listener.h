// The target of one combination that `rkcore hotkey listen` registered: prints
// a line for each press and ends the event loop after the wanted count.
#pragma once

#include <rkcore/HotKeyCenter.h>

#include <QCoreApplication>
#include <QObject>
#include <QString>

#include <cstdio>
#include <utility>

#include "cli.h"

namespace rkcli {

class Listener final : public QObject {
    Q_OBJECT
public:
    // `remaining` counts presses down to the end (0: no end); shared by all listeners.
    Listener(QString text, QString display, int *remaining)
        : text_(std::move(text)), display_(std::move(display)), remaining_(remaining)
    {
    }

    Q_INVOKABLE void pressed(rk::HotKeyCenter * /*center*/)
    {
        printLine(QStringLiteral("pressed: %1 (%2)").arg(text_, display_));
        (void)std::fflush(stdout);
        if (*remaining_ > 0 && --*remaining_ == 0) QCoreApplication::quit();
    }

private:
    QString text_;
    QString display_;
    int *remaining_;
};

} // namespace rkcli
