// Names as GNU ls shows them on a terminal: quoted so that they can be pasted
// into a shell, with control characters and bytes that are not UTF-8 written
// as $'...' escapes.
#pragma once

#include <QByteArray>

namespace rkcli {

// The name unchanged when nothing in it needs quoting ("notes.txt"); 'a b' for
// a name with shell characters; "it's" for one whose only special character
// besides blanks is a single quote; 'a'$'\n''b' for control characters and
// $'\377' for bytes that are not UTF-8.
QByteArray shellQuoted(const QByteArray &name);

} // namespace rkcli
