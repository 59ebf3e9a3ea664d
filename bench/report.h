// Figures as lines for people and as JSON for programs.
#ifndef BENCH_REPORT_H
#define BENCH_REPORT_H

#include <filesystem>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "figure.h"
#include "round_trip.h"

namespace bench {

class Report {
 public:
  // Prints what the figures are taken on and in.
  Report(std::ostream& out, std::vector<std::pair<std::string, std::string>> machine,
         const RoundTrip& round_trip);

  // One line. `samples` are in `unit`; times are in round trips as well.
  void Add(const std::string& name, int n, Unit unit, std::vector<double> samples);
  // The same, of times in seconds.
  void AddTimes(const std::string& name, int n, Unit unit, std::vector<double> seconds);
  // The budgets, met and missed.
  void PrintBudgets() const;

  const std::vector<Figure>& Figures() const { return figures_; }
  // Throws std::runtime_error naming the file.
  void WriteJson(const std::filesystem::path& file) const;
  std::string Json() const;

 private:
  std::string InRoundTrips(const Figure& figure, const Summary& round_trip) const;

  std::ostream& out_;
  std::vector<std::pair<std::string, std::string>> machine_;
  RoundTrip round_trip_;
  std::vector<Figure> figures_;
};

}  // namespace bench

#endif
