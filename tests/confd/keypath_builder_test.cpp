#include "confd_client/keypath_builder.h"

#include <gtest/gtest.h>

#include <string>

#include "frame.h"

namespace {

confd_value_t Number(int number) {
  confd_value_t value{};
  CONFD_SET_INT32(&value, number);
  return value;
}

void PushNumber(confd::KeypathBuilder& builder, int number) {
  builder.Push();
  builder.Add(Number(number));
}

// Elements with their values, deepest first; fails when a slot outside of them
// is in use.
std::string Shape(const confd_hkeypath_t& path) {
  std::string text;
  for (int i = 0; i < MAXDEPTH; ++i) {
    bool ended = false;
    for (int j = 0; j < MAXKEYLEN; ++j) {
      const confd_value_t& value = path.v[i][j];
      ended = ended || value.type == C_NOEXISTS;
      EXPECT_EQ(value.type == C_NOEXISTS, ended || i >= path.len) << i << "," << j;
      text += value.type == C_INT32 ? std::to_string(CONFD_GET_INT32(&value)) : "";
    }
    text += i < path.len ? ";" : "";
  }
  return text;
}

TEST(KeypathBuilder, PutsTheDeepestElementFirst) {
  confd::KeypathBuilder builder;
  PushNumber(builder, 1);
  PushNumber(builder, 2);
  builder.Add(Number(3));
  EXPECT_EQ(Shape(builder.Fill()), "23;1;");
}

TEST(KeypathBuilder, CleansWhatAnEarlierPathLeft) {
  confd::KeypathBuilder builder;
  for (int i = 1; i <= 4; ++i) {
    PushNumber(builder, i);
    builder.Add(Number(i));
    builder.Add(Number(i));
  }
  EXPECT_EQ(Shape(builder.Fill()), "444;333;222;111;");
  builder.Pop();
  builder.Pop();
  builder.Pop();
  PushNumber(builder, 7);
  EXPECT_EQ(Shape(builder.Fill()), "7;111;");
}

TEST(KeypathBuilder, HoldsAsMuchAsAKeypathAndNoMore) {
  confd::KeypathBuilder builder;
  for (int i = 0; i < MAXDEPTH; ++i) {
    PushNumber(builder, 1);
  }
  for (int i = 1; i < MAXKEYLEN; ++i) {
    builder.Add(Number(2));
  }
  EXPECT_EQ(builder.Fill().len, MAXDEPTH);
  EXPECT_THROW(builder.Add(Number(3)), ipc::ProtocolError);
  EXPECT_THROW(builder.Push(), ipc::ProtocolError);
}

}  // namespace
