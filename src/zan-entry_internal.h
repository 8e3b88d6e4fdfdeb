// zan-entry_internal.h - what the rooms of the shell (src/zan-entry_*.cpp) share.
#ifndef ZAN_ZAN_ENTRY_INTERNAL_H
#define ZAN_ZAN_ENTRY_INTERNAL_H

#include "zanmodel.h"

// The three records of one model, with room for what the model layer says about a failure.
struct ShellModel {
    ZANSpinSystemDef spin;
    ZANPulseSequenceDef seq;
    ZANRunConfig cfg;
    char error[512];
};

// ---- zan-entry_models.cpp ----
ZANModelStatus load_shell_model(const char *path, ShellModel *model);
ZANModelStatus activate_shell_model(ShellModel *model);

// ---- zan-entry_files.cpp ----
// The decimal number that text begins with (after white space; what follows is ignored).
// 0, which no menu offers, when there is none or it does not fit.
int leading_int(const char *text);
void wait_to_return_to_menu(void); // prompt and pause

#endif
