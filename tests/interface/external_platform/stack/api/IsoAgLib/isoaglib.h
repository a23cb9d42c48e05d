// A second ISOBUS stack, which only records what it is asked: one door to headers that lie elsewhere.
#pragma once

#include <stackcore/everything.h>
