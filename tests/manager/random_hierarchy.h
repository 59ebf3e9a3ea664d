// Configurations for tests.
#ifndef TESTS_MANAGER_RANDOM_HIERARCHY_H
#define TESTS_MANAGER_RANDOM_HIERARCHY_H

#include <cstdint>
#include <random>
#include <string>

#include "cfm/hierarchy.h"

namespace test {

// Any hierarchy that the types can hold, the ends of every range often among
// the values.
cfm::Hierarchy RandomHierarchy(std::mt19937& random);

// `mas` MAs of `meps` MEPs each in the one MD `md`, all as an operator would
// have them. The MEPs are on the interface `logical_interface_id`.
cfm::Hierarchy RegularHierarchy(const std::string& md, int mas, int meps,
                                std::uint32_t logical_interface_id = 1);

}  // namespace test

namespace cfm {

// Every field, as gtest compares.
bool operator==(const hierarchy_mep& left, const hierarchy_mep& right);
bool operator==(const hierarchy_ma& left, const hierarchy_ma& right);
bool operator==(const hierarchy_md& left, const hierarchy_md& right);

}  // namespace cfm

#endif
