// Prints a permission number's listing text through the object layer.
#include <rkcore/RBPermission.h>

#include <cstdio>

int main()
{
    std::printf("%s\n", qPrintable(rk::RBPermission::octalToString(644)));
    return 0;
}
