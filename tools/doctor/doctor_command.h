#ifndef KA_TOOLS_DOCTOR_COMMAND_H
#define KA_TOOLS_DOCTOR_COMMAND_H

#include "common/command.h"

namespace tools {

/// Adds `ka-tts doctor`: finds what makes a running or stopped station mute, and mends it.
/// \param context outlives the app; gets the exit status
CLI::App* AddDoctorCommand(CLI::App& app, Context& context);

}  // namespace tools

#endif
