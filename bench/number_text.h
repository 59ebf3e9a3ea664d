// Numbers in a column.
#ifndef BENCH_NUMBER_TEXT_H
#define BENCH_NUMBER_TEXT_H

#include <string>

namespace bench {

// Without an exponent, with about four digits that count: 0.0123, 1.234, 123.4,
// 12345.
std::string NumberText(double number);

}  // namespace bench

#endif
