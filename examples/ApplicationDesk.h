// Puts an application at the desk: its buses, its console values and its capture files, as the options say.
#pragma once

#include "desk/DeskCapture.h"
#include "desk/DeskOptions.h"

#include <string>

// Takes    capture: lives as long as frames pass
// Gives    an empty text, or one line that says what is wrong and where
std::string prepareApplicationDesk(const DeskOptions_s& options, DeskCapture_c& capture);
