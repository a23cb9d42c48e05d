// The answers of a survey as text for people.
#pragma once

#include "BusSurvey.h"

#include <ostream>

// printFunction: writes one control function: address, NAME field by field, identification, certification.
void printFunction(std::ostream& out, const SurveyedFunction_s& function);

// printSurvey: writes every function, or one line that says that nobody is there.
void printSurvey(std::ostream& out, const BusSurvey_c& survey);
