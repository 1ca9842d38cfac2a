// Include in exactly one file of a test program that starts a Qt GUI
// application: Qt's font database keeps fontconfig's patterns until exit
// without calling FcFini; those blocks are fontconfig's own, not ours.
#pragma once

extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions();
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libfontconfig.so\n";
}
