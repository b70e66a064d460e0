#ifndef KA_TOOLS_TERMINAL_H
#define KA_TOOLS_TERMINAL_H

#include <string>
#include <string_view>

namespace tools {

/// When output is coloured.
enum class ColorMode { Auto, Never, Always };

/// Colours by their escape sequences.
enum class Color { Bold, Red, Green, Yellow, Blue, Dim };

/// Whether output to a descriptor is coloured. Auto means: it is a terminal that can do colours,
/// and the environment variable NO_COLOR is not set.
bool UsesColor(ColorMode mode, int descriptor);

/// `text` in a colour, or as it stands if `colored` is false.
std::string Painted(std::string_view text, Color color, bool colored);

}  // namespace tools

#endif
