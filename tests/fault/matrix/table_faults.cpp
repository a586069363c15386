// Hash tables over functions of the user.

#include "tests/fault/matrix/groups.h"
#include "vakenv/tables/env_hash_table.h"
#include "vakenv/tables/hash_table.h"

namespace {

VakInt hash(VakInt key, VakInt size) {
  VakFailingCallback::Tick();
  return key % size;
}
VakInt compare(VakInt a, VakInt b) {
  VakFailingCallback::Tick();
  return a == b ? 1 : 0;
}

using HeapTable = VakHashTable<VakInt, VakInt>;
using EnvTable = VakEnvHashTable<VakInt, VakInt>;

// A table of the general heap is ended by its owner.
struct OwnedHeapTable {
  explicit OwnedHeapTable(VakStage& /*s*/) : table(hash, compare, 2) {}
  ~OwnedHeapTable() { table.end(); }
  HeapTable table;
};
struct OwnedEnvTable {
  explicit OwnedEnvTable(VakStage& s) : table(s.impl(), 2, hash, compare) {}
  EnvTable table;
};

// Gives the table back before its environment ends, and then nothing any more.
template <class Table>
std::string checkTable(const Table& table, VakInt items) {
  if (table._nbItems != items) return "the table counts " + std::to_string(table._nbItems);
  return table.check();
}

template <class Owned>
VakScene makeTable(VakStage& s) {
  auto& owned = s.keep<std::unique_ptr<Owned>>();
  return {.act = [&] { owned = std::make_unique<Owned>(s); }, .undo = [&] { owned.reset(); }};
}

template <class Owned>
VakScene fillTable(VakStage& s) {
  auto& owned = s.keep<std::unique_ptr<Owned>>(std::make_unique<Owned>(s));
  auto& added = s.keep<VakInt>(0);
  return {.act =
              [&] {
                for (; added < 20; ++added) owned->table.add(added, added * 2);
              },
          .undo =
              [&] {
                owned.reset();
                added = 0;
              },
          .afterFailure = [&] { return checkTable(owned->table, added); },
          .afterSuccess = [&] { return checkTable(owned->table, 20); },
          .mayKeep = "pairs that were added before stay, in a table that has grown"};
}

template <class Owned>
VakScene rehashTable(VakStage& s) {
  auto& owned = s.keep<std::unique_ptr<Owned>>(std::make_unique<Owned>(s));
  for (VakInt key = 0; key < 10; ++key) owned->table.add(key, key);
  return {.act = [&] { owned->table.reMod(64); },
          .undo = [&] { owned.reset(); },
          .afterFailure = [&] { return checkTable(owned->table, 10); },
          .afterSuccess = [&] { return checkTable(owned->table, 10); }};
}

template <class Owned>
VakScene useTable(VakStage& s) {
  auto& owned = s.keep<std::unique_ptr<Owned>>(std::make_unique<Owned>(s));
  for (VakInt key = 0; key < 10; ++key) owned->table.add(key, key);
  return {.act =
              [&] {
                VakInt value = 0;
                if (owned->table.find(9, value) != VakHashDone || value != 9) {
                  throw std::logic_error("not found");
                }
                VakInt sum = 0;
                using Iterator = typename decltype(owned->table)::Iterator;
                for (Iterator i(owned->table); i.ok(); ++i) {
                  sum += i->getKey() - (*i).getValue();
                  i->setValue(i->getValue());
                  i->setKey(i->getKey());
                  i->setNext(i->getNext());
                }
                if (sum != 0) throw std::logic_error("a value");
                owned->table.remove(9);
              },
          .undo = [&] { owned.reset(); },
          .afterFailure = [&] { return checkTable(owned->table, 10); },
          .afterSuccess = [&] { return checkTable(owned->table, 9); }};
}

template <class Owned>
VakScene takeFromTable(VakStage& s) {
  auto& owned = s.keep<std::unique_ptr<Owned>>(std::make_unique<Owned>(s));
  for (VakInt key = 0; key < 10; ++key) owned->table.add(key, key * 2);
  auto& value = s.keep<VakInt>(-1);
  return {.act =
              [&] {
                if (owned->table.take(9, value) != VakHashDone) throw std::logic_error("not found");
              },
          .undo = [&] { owned.reset(); },
          .afterFailure = [&]() -> std::string {
            return value == -1 ? checkTable(owned->table, 10) : "a value was written";
          },
          .afterSuccess = [&]() -> std::string {
            return value == 18 ? checkTable(owned->table, 9) : "the value";
          }};
}

const std::vector<VakFaultOperation> _operations = {
    {"make a table of the heap", "VakHashTable::VakHashTable*", makeTable<OwnedHeapTable>},
    {"fill a table of the heap", "VakChainedTable::add VakHashItem::VakHashItem*",
     fillTable<OwnedHeapTable>},
    {"rehash a table of the heap", "VakChainedTable::reMod", rehashTable<OwnedHeapTable>},
    {"look into a table of the heap",
     "VakChainedTable::find VakChainedTable::remove VakChainedTable::Iterator "
     "VakChainedTable::check",
     useTable<OwnedHeapTable>},
    {"take a value out of a table of the heap", "VakChainedTable::take",
     takeFromTable<OwnedHeapTable>},
    {"make a table of an environment", "VakEnvHashTable::VakEnvHashTable*",
     makeTable<OwnedEnvTable>},
    {"make the buckets of a table of an environment", "VakEnvHashTable::create",
     [](VakStage& s) {
       auto& owned = s.keep<std::unique_ptr<OwnedEnvTable>>(std::make_unique<OwnedEnvTable>(s));
       return VakScene{.act = [&] { owned->table.create(); }, .undo = [&] { owned.reset(); }};
     }},
    {"fill a table of an environment", "VakChainedTable::add", fillTable<OwnedEnvTable>},
    {"rehash a table of an environment", "VakChainedTable::reMod", rehashTable<OwnedEnvTable>},
    {"look into a table of an environment",
     "VakChainedTable::find VakChainedTable::remove VakChainedTable::Iterator "
     "VakChainedTable::ok VakChainedTable::operator* VakChainedTable::operator++ "
     "VakChainedTable::operator-> VakHashItem::getKey VakHashItem::getValue VakHashItem::getNext "
     "VakHashItem::setKey VakHashItem::setValue VakHashItem::setNext",
     useTable<OwnedEnvTable>},
    {"take a value out of a table of an environment", "VakChainedTable::take",
     takeFromTable<OwnedEnvTable>},
    {"end a table and use it again", "VakChainedTable::end",
     [](VakStage& s) {
       auto& owned = s.keep<std::unique_ptr<OwnedEnvTable>>(std::make_unique<OwnedEnvTable>(s));
       return VakScene{.act =
                           [&] {
                             owned->table.end();
                             owned->table.add(1, 1);
                           },
                       .undo = [&] { owned.reset(); },
                       .afterFailure = [&] { return checkTable(owned->table, 0); },
                       .mayKeep = "the buckets stay"};
     }},
    {"table of objects by their address", "VakHashAddress VakCompareAddresses VakChainedTable::add",
     [](VakStage& s) {
       using Table = VakHashTable<int*, int>;
       struct Objects {
         Table table{VakHashAddress<int*>, VakCompareAddresses<int*>, 2};
         std::array<int, 12> objects;
         ~Objects() { table.end(); }
       };
       auto& objects = s.keep<Objects>();
       return VakScene{.act =
                           [&] {
                             for (int& object : objects.objects) objects.table.add(&object, 1);
                           },
                       .afterFailure = [&] { return objects.table.check(); }};
     }},
};

}  // namespace

VakFaultGroup VakTableFaults() { return {"Hash tables", _operations}; }
