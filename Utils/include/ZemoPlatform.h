// The one door to the two platforms: the ISOBUS stack (IsoAgLib) and the console-services library (libzemoconsole).
// A stack or a console library with another header layout is met by editing the two lines below and nothing else.
#pragma once

#include <IsoAgLib/isoaglib.h>
#include <zemoconsole.h>
