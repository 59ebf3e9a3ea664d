// What reading a whole configuration costs when it is read as the daemon
// reads it.
#include <confd_cdb.h>
#include <confd_internal.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "confd/connected.h"
#include "confd/data_agent.h"
#include "confd/data_tree.h"
#include "confd/fake_agent.h"

namespace {

using test::Container;
using test::Entry;
using test::Int32;
using test::Leaf;
using test::Number;
using test::Text;

constexpr int kMas = 5;
constexpr int kMeps = 4;

cfm::agent::DataNode Mep(int id) {
  test::Nodes leaves = {Leaf("id", Int32(id)), Leaf("interface", Text("port" + std::to_string(id))),
                        Leaf("direction", Number(C_ENUM_VALUE, 1)),
                        Container("continuity-check", {Leaf("fault-alarm-time", Int32(2500)),
                                                       Leaf("fault-reset-time", Int32(10000))})};
  if (id % 2 == 0) {
    leaves.push_back(Leaf("primary-vlan-id", Int32(100 + id)));
  }
  return Entry("mep", {Int32(id)}, leaves);
}

cfm::agent::DataNode Ma(const std::string& name) {
  test::Nodes children = {Leaf("id", Text(name)), Leaf("ccm-interval", Number(C_ENUM_VALUE, 0)),
                          Leaf("primary-vlan-id", Int32(10)),
                          Leaf("vlan-list", test::List({Int32(10), Int32(20)}))};
  for (int mep = 1; mep <= kMeps; ++mep) {
    children.push_back(Mep(mep));
  }
  return Entry("ma", {Text(name)}, children);
}

cfm::agent::DataNode Md(const std::string& name) {
  test::Nodes children = {Leaf("id", Text(name)), Leaf("level", Int32(3))};
  for (int ma = 0; ma < kMas; ++ma) {
    children.push_back(Ma("ma" + std::to_string(ma)));
  }
  return Entry("md", {Text(name)}, children);
}

cfm::agent::DataNode Configuration() {
  return Container("config", {Container("oam", {Container("cfm", {Md("east"), Md("west")})})});
}

// Reads like the daemon and counts what it finds.
class Loader {
 public:
  explicit Loader(int fd) : fd_(fd) {}

  int values = 0;  // leaves and elements of leaf-lists that were read
  int meps = 0;

  void Load() {
    const int mds = cdb_num_instances(fd_, "/config/oam/cfm/md");
    for (int md = 0; md < mds; ++md) {
      LoadMd(md);
    }
  }

 private:
  void LoadMd(int index) {
    const std::string md = Name("/config/oam/cfm/md[%d]/id", index);
    Get("/config/oam/cfm/md{%s}/level", md.c_str());
    const int mas = cdb_num_instances(fd_, "/config/oam/cfm/md[%d]/ma", index);
    for (int ma = 0; ma < mas; ++ma) {
      LoadMa(index, ma, md);
    }
  }

  void LoadMa(int md_index, int index, const std::string& md) {
    const std::string ma = Name("/config/oam/cfm/md[%d]/ma[%d]/id", md_index, index);
    for (const char* leaf : {"ccm-interval", "primary-vlan-id"}) {
      Get("/config/oam/cfm/md{%s}/ma{%s}/%s", md.c_str(), ma.c_str(), leaf);
    }
    for (const char* leaf : {"vlan-list", "remote-meps"}) {
      GetList("/config/oam/cfm/md{%s}/ma{%s}/%s", md.c_str(), ma.c_str(), leaf);
    }
    const int count = cdb_num_instances(fd_, "/config/oam/cfm/md[%d]/ma[%d]/mep", md_index, index);
    for (int mep = 0; mep < count; ++mep) {
      std::int32_t id = 0;
      EXPECT_EQ(
          cdb_get_int32(fd_, &id, "/config/oam/cfm/md[%d]/ma[%d]/mep[%d]/id", md_index, index, mep),
          CONFD_OK);
      LoadMep(md, ma, id);
    }
  }

  void LoadMep(const std::string& md, const std::string& ma, int mep) {
    ++meps;
    for (const char* leaf : {"interface", "direction", "primary-vlan-id"}) {
      Get("/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/%s", md.c_str(), ma.c_str(), mep, leaf);
    }
    EXPECT_EQ(cdb_exists(fd_, "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check/cci-enabled",
                         md.c_str(), ma.c_str(), mep),
              0);
    for (const char* leaf :
         {"lowest-fault-priority-defect", "fault-alarm-time", "fault-reset-time", "fault-action"}) {
      Get("/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check/%s", md.c_str(), ma.c_str(), mep,
          leaf);
    }
  }

  template <typename... Arguments>
  void Get(const char* format, Arguments... arguments) {
    confd_value_t value;
    if (cdb_get(fd_, &value, format, arguments...) == CONFD_OK) {
      ++values;
      confd_free_value(&value);
    } else {
      EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS) << confd_lasterr();
    }
  }

  template <typename... Arguments>
  std::string Name(const char* format, Arguments... arguments) {
    confd_value_t value;
    if (cdb_get(fd_, &value, format, arguments...) != CONFD_OK) {
      ADD_FAILURE() << confd_lasterr();
      return {};
    }
    std::string name = CONFD_GET_CBUFPTR(&value);
    confd_free_value(&value);
    return name;
  }

  template <typename... Arguments>
  void GetList(const char* format, Arguments... arguments) {
    confd_value_t* elements = nullptr;
    int count = 0;
    if (cdb_get_list(fd_, &elements, &count, format, arguments...) == CONFD_OK) {
      values += count;
      std::free(elements);
    } else {
      EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS) << confd_lasterr();
    }
  }

  int fd_;
};

TEST(InitialLoad, ReadsEverythingInAFewRoundTrips) {
  test::FakeAgent agent({test::ServeData(Configuration())});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  ASSERT_EQ(cdb_start_session2(socket.Fd(), CDB_RUNNING, CDB_LOCK_SESSION | CDB_LOCK_WAIT),
            CONFD_OK);
  const std::uint64_t before = confd_round_trips();
  Loader loader(socket.Fd());
  loader.Load();
  EXPECT_EQ(loader.meps, 2 * kMas * kMeps);
  // Per MD its level; per MA two leaves and two VLANs; per MEP four leaves and
  // every other one a VLAN of its own.
  EXPECT_EQ(loader.values, 2 * (1 + kMas * (4 + kMeps * 4 + kMeps / 2)));
  // One for the number of MDs and one for each MD.
  EXPECT_EQ(confd_round_trips() - before, 3U);
}

}  // namespace
