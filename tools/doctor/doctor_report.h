#ifndef KA_TOOLS_DOCTOR_REPORT_H
#define KA_TOOLS_DOCTOR_REPORT_H

#include <string>

#include "common/report.h"
#include "doctor/diagnosis.h"
#include "doctor/examination.h"

namespace tools {

/// For people: whether the server runs, a line per finding with what the server makes of it, what
/// to do and what was done, and a last line with the numbers.
std::string DiagnosisText(const Examination& examination, const Diagnosis& diagnosis, bool colored);

/// For programs: the same, and the figures.
std::string DiagnosisJson(const Examination& examination, const Diagnosis& diagnosis);

/// Fills in what is known of a run at its end, and what a former run left in `former`, the text of
/// its figures.
void CompleteFigures(Diagnosis& diagnosis, const std::string& former, double runSeconds);

}  // namespace tools

#endif
