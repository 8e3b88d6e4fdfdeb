// zan-entry.cpp - where the program starts; everything else is in the library (ZANMain).
#include "zan-entry.h"
#include "platformlib.h"

#ifdef _WIN32
#include <windows.h>

// A start without a console's command line always opens the menu.
int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    plat_startup();
    return ZANMain(0, nullptr);
}
#endif

int main(int argc, char **argv)
{
    plat_startup();
    return ZANMain(argc, argv);
}
