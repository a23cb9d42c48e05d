// The drive that the programs bring along: the text of drive.csv.
#pragma once

extern const char* const driveData;
