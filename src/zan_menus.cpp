// zan_menus.cpp - the console menus of the engine.

#include "zan.h"

void ZANPrepareMenu(void)
{
    std::puts("[ZAN] The prepare menu is not part of this version yet; write the model files by "
              "hand and import them.");
}

void LiouvilleNonInteractive(void)
{
    std::puts("[ZAN] The run menu is not part of this version yet; use --run-model.");
}
