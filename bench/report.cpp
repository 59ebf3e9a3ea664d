#include "report.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <fstream>
#include <stdexcept>
#include <string_view>

#include "budgets.h"
#include "number_text.h"

namespace bench {
namespace {

constexpr const char* kRow = "{:<30} {:>5} {:>10} {:>10} {:>10} {:<4} {:>5} {:>10} {:>10}\n";

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      quoted += '\\';
    }
    quoted += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
  }
  return quoted + '"';
}

std::string JsonOf(const Summary& summary) {
  return fmt::format(R"("median": {}, "min": {}, "max": {}, "samples": {})", summary.median,
                     summary.min, summary.max, summary.count);
}

std::string JsonOf(const Judgement& judgement) {
  const std::string measured =
      judgement.measured ? fmt::format(R"("measured": {}, )", *judgement.measured) : "";
  return fmt::format(R"(    {{"budget": {}, "limit": {}, {}"unit": {}, "verdict": {}}})",
                     Quoted(judgement.text), judgement.limit, measured, Quoted(judgement.unit),
                     Quoted(TextOf(judgement.verdict)));
}

}  // namespace

Report::Report(std::ostream& out, std::vector<std::pair<std::string, std::string>> machine,
               const RoundTrip& round_trip)
    : out_(out), machine_(std::move(machine)), round_trip_(round_trip) {
  for (const auto& [name, text] : machine_) {
    fmt::print(out_, "# {}: {}\n", name, text);
  }
  const auto print = [&](const char* where, const Summary& trip) {
    fmt::print(out_, "# one round trip on a local socket, {}: {} us (min {}, max {})\n", where,
               NumberText(trip.median), NumberText(trip.min), NumberText(trip.max));
  };
  print("same core", round_trip_.same_core);
  if (round_trip_.two_cores) {
    print("two cores", *round_trip_.two_cores);
  }
  fmt::print(out_, "# rt1, rt2: the median in round trips on the same core, on two cores\n");
  fmt::print(out_, kRow, "# figure", "N", "median", "min", "max", "unit", "runs", "rt1", "rt2");
  out_.flush();
}

std::string Report::InRoundTrips(const Figure& figure, const Summary& round_trip) const {
  const double seconds = SecondsIn(figure.unit);
  return seconds == 0 ? ""
                      : NumberText(figure.summary.median * seconds / (round_trip.median * 1e-6));
}

void Report::Add(const std::string& name, int n, Unit unit, std::vector<double> samples) {
  const Figure figure{.name = name, .n = n, .unit = unit, .summary = Summarize(std::move(samples))};
  fmt::print(out_, kRow, figure.name, figure.n, NumberText(figure.summary.median),
             NumberText(figure.summary.min), NumberText(figure.summary.max), TextOf(figure.unit),
             figure.summary.count, InRoundTrips(figure, round_trip_.same_core),
             round_trip_.two_cores ? InRoundTrips(figure, *round_trip_.two_cores) : "");
  out_.flush();
  figures_.push_back(figure);
}

void Report::AddTimes(const std::string& name, int n, Unit unit, std::vector<double> seconds) {
  for (double& sample : seconds) {
    sample /= SecondsIn(unit);
  }
  Add(name, n, unit, std::move(seconds));
}

void Report::PrintBudgets() const {
  fmt::print(out_, "# {:<52} {:>8} {:>10} {:>10} {:<4} verdict\n", "budget", "limit", "measured",
             "best", "unit");
  for (const Judgement& judgement : Judge(figures_)) {
    fmt::print(out_, "# {:<52} {:>8} {:>10} {:>10} {:<4} {}\n", judgement.text,
               NumberText(judgement.limit),
               judgement.measured ? NumberText(*judgement.measured) : "-",
               judgement.best ? NumberText(*judgement.best) : "-", judgement.unit,
               TextOf(judgement.verdict));
  }
  out_.flush();
}

std::string Report::Json() const {
  std::string json = "{\n  \"machine\": {";
  for (const auto& [name, text] : machine_) {
    json += fmt::format("{}{}: {}", json.back() == '{' ? "" : ", ", Quoted(name), Quoted(text));
  }
  json += fmt::format("}},\n  \"round_trip_us\": {{\"same_core\": {{{}}}",
                      JsonOf(round_trip_.same_core));
  if (round_trip_.two_cores) {
    json += fmt::format(", \"two_cores\": {{{}}}", JsonOf(*round_trip_.two_cores));
  }
  json += "},\n  \"figures\": [";
  const char* separator = "\n";
  for (const Figure& figure : figures_) {
    json += fmt::format("{}    {{\"name\": {}, \"n\": {}, \"unit\": {}, {}}}", separator,
                        Quoted(figure.name), figure.n, Quoted(TextOf(figure.unit)),
                        JsonOf(figure.summary));
    separator = ",\n";
  }
  json += "\n  ],\n  \"budgets\": [";
  separator = "\n";
  for (const Judgement& judgement : Judge(figures_)) {
    json += separator + JsonOf(judgement);
    separator = ",\n";
  }
  return json + "\n  ]\n}\n";
}

void Report::WriteJson(const std::filesystem::path& file) const {
  std::ofstream out(file);
  out << Json();
  out.flush();
  if (!out) {
    throw std::runtime_error("cannot write " + file.string() +
                             ": is its directory there, and may you write in it?");
  }
}

}  // namespace bench
