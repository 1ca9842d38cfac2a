// Prints the modifier bits the widgets library gives the command key.
#include <rkcore/KeyBroadcaster.h>

#include <cstdio>

int main()
{
    std::printf("0x%04x\n",
                static_cast<unsigned>(rk::KeyBroadcaster::cocoaToCarbonModifiers(rk::KeyBroadcaster::kCommandKeyMask)));
    return 0;
}
