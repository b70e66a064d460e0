#include "figures.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace bench {

namespace {

double Quantile(std::vector<double> values, double share) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const double position = share * static_cast<double>(values.size() - 1);
  const auto below = static_cast<std::size_t>(position);
  const std::size_t above = std::min(below + 1, values.size() - 1);
  const double weight = position - static_cast<double>(below);
  return values[below] * (1 - weight) + values[above] * weight;
}

/// Three digits that mean something.
std::string Shown(double value) {
  return Fixed(value, value < 10 ? 3 : value < 100 ? 2 : 1);
}

/// Columns on the screen: bytes of UTF-8 that begin a character.
std::size_t Width(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string Padded(const std::string& text, std::size_t width, bool left) {
  const std::string blanks(width - std::min(width, Width(text)), ' ');
  return left ? text + blanks : blanks + text;
}

std::string JsonText(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

}  // namespace

double Median(std::vector<double> values) {
  return Quantile(std::move(values), 0.5);
}

double Percentile95(std::vector<double> values) {
  return Quantile(std::move(values), 0.95);
}

double PairedRatio(const std::vector<double>& values, const std::vector<double>& references) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < std::min(values.size(), references.size()); ++i) {
    if (references[i] > 0) ratios.push_back(values[i] / references[i]);
  }
  return Median(std::move(ratios));
}

std::string Fixed(double value, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

Table::Table(std::string title, std::vector<std::string> columns)
    : title_(std::move(title)), columns_(std::move(columns)) {}

void Table::Add(const std::string& name, const std::vector<double>& values) {
  rows_.emplace_back(name, values);
}

void Table::Print() const {
  std::vector<std::size_t> widths;
  for (const std::string& column : columns_)
    widths.push_back(Width(column));
  for (const auto& [name, values] : rows_) {
    widths[0] = std::max(widths[0], Width(name));
    for (std::size_t i = 0; i < values.size(); ++i)
      widths[i + 1] = std::max(widths[i + 1], Shown(values[i]).size());
  }
  std::string text = "\n" + title_ + "\n\n  " + Padded(columns_[0], widths[0], true);
  for (std::size_t i = 1; i < columns_.size(); ++i)
    text += "  " + Padded(columns_[i], widths[i], false);
  text += "\n";
  for (const auto& [name, values] : rows_) {
    text += "  " + Padded(name, widths[0], true);
    for (std::size_t i = 0; i < values.size(); ++i)
      text += "  " + Padded(Shown(values[i]), widths[i + 1], false);
    text += "\n";
  }
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

void Table::Save(const std::string& directory, const std::string& name) const {
  std::ofstream file(directory + "/" + name + ".json");
  file << "{\n  \"title\": " << JsonText(title_) << ",\n  \"rows\": [";
  const char* separator = "\n";
  for (const auto& [row, values] : rows_) {
    file << separator << "    {" << JsonText(columns_[0]) << ": " << JsonText(row);
    for (std::size_t i = 0; i < values.size(); ++i)
      file << ", " << JsonText(columns_[i + 1]) << ": " << Fixed(values[i], 6);
    file << "}";
    separator = ",\n";
  }
  file << "\n  ]\n}\n";
}

Limits::Limits(const std::string& directory) : path_(directory + "/limits.tsv") {}

void Limits::AtMost(const std::string& what, double measured, double limit,
                    const std::string& unit) const {
  std::ofstream(path_, std::ios::app)
      << what << '\t' << Fixed(limit, 2) << unit << '\t' << Fixed(measured, 3) << unit << '\t'
      << (measured <= limit ? "yes" : "NO") << '\n';
}

}  // namespace bench
