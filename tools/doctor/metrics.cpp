#include "doctor/metrics.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace tools {

namespace {

constexpr MetricFamily kFamilies[] = {
    // The server
    {"ka_tts_up", "Whether the station's server runs."},
    {"ka_tts_server_processes", "Processes of the station's server."},
    {"ka_tts_server_start_time_seconds", "When the server began, seconds since 1970."},
    {"ka_tts_server_resident_memory_bytes", "Memory that the server holds."},
    {"ka_tts_configuration_outdated",
     "Files that were changed since the server read them at its start."},
    // Ports
    {"ka_tts_port_listeners", "Sockets that listen on a port of the station."},
    {"ka_tts_port_waiting_clients", "Clients whom the server has not taken up yet."},
    {"ka_tts_port_silent_client_seconds",
     "How long a connected client has held the port without sending anything; 0 for none."},
    // Announcements
    {"ka_tts_marker_present", "Whether a marker that stops playing or saving is set."},
    {"ka_tts_marker_age_seconds", "Age of the marker; 0 if it is not set."},
    {"ka_tts_player_running", "Whether a player of the station runs."},
    {"ka_tts_store_texts", "Texts of announcements in the store directory."},
    {"ka_tts_store_faulty_texts", "Texts in the store directory without good speech."},
    {"ka_tts_play_speeches", "Speech files in the play directory."},
    {"ka_tts_prepared_speeches", "Prepared phrases of the announcement document."},
    {"ka_tts_prepared_faulty_speeches", "Prepared phrases that are missing, faulty or outdated."},
    {"ka_tts_last_block_timestamp_seconds",
     "When announcements of a data block last came into the play directory; 0 if not known."},
    {"ka_tts_last_failed_speech_timestamp_seconds",
     "When the latest text that got no good speech was written; 0 if not known."},
    {"ka_tts_last_failure_timestamp_seconds",
     "When the doctor last found an error or a warning; 0 if not known."},
    // Directories
    {"ka_tts_directory_files", "Files in a directory of the server."},
    {"ka_tts_directory_content_bytes", "Size of the files in a directory of the server."},
    {"ka_tts_directory_free_bytes", "What can still be written in a directory of the server."},
    {"ka_tts_directory_size_bytes", "Size of the file system of a directory of the server."},
    // Engine and sound
    {"ka_tts_engine_probe_success", "Whether the engine did its work on a probe word."},
    {"ka_tts_engine_probe_duration_seconds", "How long the engine took for a probe word."},
    {"ka_tts_sound_cards", "Sound cards that the kernel knows."},
    // The run itself
    {"ka_tts_doctor_findings", "Findings of this run that were not mended."},
    {"ka_tts_doctor_mended", "Findings of this run that were mended."},
    {"ka_tts_doctor_finding", "How often a finding was made in this run."},
    {"ka_tts_doctor_run_timestamp_seconds", "When this run ended, seconds since 1970."},
    {"ka_tts_doctor_run_duration_seconds", "How long this run took."},
};

std::string Escaped(std::string_view value) {
  std::string escaped;
  for (const char c : value) {
    if (c == '\\' || c == '"') escaped += '\\';
    escaped += c == '\n' ? std::string("\\n") : std::string(1, c);
  }
  return escaped;
}

std::string LabelText(const MetricLabels& labels) {
  std::string text;
  for (const auto& [name, value] : labels)
    text += fmt::format("{}{}=\"{}\"", text.empty() ? "" : ",", name, Escaped(value));
  return text.empty() ? "" : "{" + text + "}";
}

}  // namespace

std::span<const MetricFamily> MetricFamilies() {
  return kFamilies;
}

void Metrics::Set(std::string_view family, MetricLabels labels, double value) {
  const auto* found = std::find_if(std::begin(kFamilies), std::end(kFamilies),
                                   [family](const MetricFamily& f) { return f.Name == family; });
  if (found == std::end(kFamilies)) throw std::logic_error("no metric " + std::string(family));
  const auto sample = std::find_if(samples_.begin(), samples_.end(), [&](const MetricSample& s) {
    return s.Family == found && s.Labels == labels;
  });
  if (sample != samples_.end()) {
    sample->Value = value;
  } else {
    samples_.push_back({found, std::move(labels), value});
  }
}

double Metrics::Value(std::string_view family) const {
  const auto sample = std::find_if(samples_.begin(), samples_.end(), [&](const MetricSample& s) {
    return s.Family->Name == family && s.Labels.empty();
  });
  return sample == samples_.end() ? 0 : sample->Value;
}

std::string Metrics::Text() const {
  std::string text;
  for (const MetricFamily& family : kFamilies) {
    std::string lines;
    for (const MetricSample& sample : samples_) {
      if (sample.Family == &family)
        lines += fmt::format("{}{} {}\n", family.Name, LabelText(sample.Labels), sample.Value);
    }
    if (lines.empty()) continue;
    text += fmt::format("# HELP {0} {1}\n# TYPE {0} gauge\n", family.Name, family.Help) + lines;
  }
  return text;
}

double ValueInText(std::string_view text, std::string_view family) {
  const std::string head = "\n" + std::string(family) + " ";
  const std::size_t at = text.find(head);
  if (at == std::string_view::npos) return 0;
  return std::strtod(std::string(text.substr(at + head.size(), 32)).c_str(), nullptr);
}

std::string MetricTable() {
  std::string table;
  for (const MetricFamily& family : kFamilies)
    table += fmt::format("| `{}` | {} |\n", family.Name, family.Help);
  return table;
}

}  // namespace tools
