// Symbols, typed lists, the random generator, the type system.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vaksupport/random.h"
#include "vaksupport/symbol_table.h"
#include "vaksupport/typed_list_manager.h"

namespace {

const std::vector<VakFaultOperation> _operations = {
    {"make a symbol table", "VakSymbolTable::VakSymbolTable",
     [](VakStage& s) {
       auto& table = s.keep<VakSymbolTable*>(nullptr);
       return VakScene{.act = [&] { table = VakCreate<VakSymbolTable>(s.impl(), 10); },
                       .undo = [&] { delete table; }};
     }},
    {"fill a symbol table", "VakSymbolTable::make",
     [](VakStage& s) {
       auto& table = s.keep<VakSymbolTable*>(VakCreate<VakSymbolTable>(s.impl(), 4));
       return VakScene{.act =
                           [&] {
                             char name[] = "symbol 0";
                             for (char digit = 'a'; digit <= 'z'; ++digit) {
                               name[7] = digit;
                               table->make(name);
                             }
                           },
                       .undo = [&] { delete table; },
                       .afterFailure = [&] { return table->_table.check(); },
                       .mayKeep = "symbols that were made before stay"};
     }},
    {"look into a symbol table",
     "VakSymbolTable::get VakSymbolTable::getEncoder VakSymbolTable::getSize "
     "VakSymbolTable::getSymbols VakSymbolTable::HashName VakSymbolTable::CompareNames "
     "VakSymbolEncoder::encode VakSymbolEncoder::decode VakSymbolEncoder::getSize "
     "VakSymbolI::getName VakSymbolI::getLength VakSymbolI::getCode",
     [](VakStage& s) {
       s->makeSymbol("flow");
       return VakScene{.act = [&] {
         VakSymbolTable& table = *s->_symbolTable;
         const VakSymbolI* symbol = table.get("flow");
         const VakSymbolEncoder* encoder = table.getEncoder();
         bool fine = encoder->decode(encoder->encode(symbol)) == symbol;
         fine = fine && symbol->getCode() == encoder->getSize() - 1 && symbol->getLength() == 4;
         fine = fine && table.getSymbols().size() == static_cast<unsigned long>(table.getSize());
         fine = fine && VakSymbolTable::CompareNames(symbol->getName(), "flow") == 1;
         fine = fine && VakSymbolTable::HashName("flow", 7) < 7;
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"keep typed lists",
     "VakTypedListManager::switchOn VakTypedListManager::isOn "
     "VakTypedListManager::end",
     [](VakStage& s) {
       return VakScene{.act = [&] { s->_typedLists.switchOn(s.impl()); },
                       .undo = [&] { s->_typedLists.end(s.impl()); },
                       .afterFailure = [&]() -> std::string {
                         return s->_typedLists.isOn() ? "the lists are on" : "";
                       }};
     }},
    {"enter extractables in typed lists",
     "VakTypedListManager::add VakTypedListManager::remove VakTypedListManager::check",
     [](VakStage& s) {
       auto& nodes = s.keep<std::array<VakUserNode*, 40>>();
       for (VakUserNode*& node : nodes) node = VakCreate<VakUserNode>(s.impl());
       s->_typedLists.switchOn(s.impl());
       return VakScene{.act =
                           [&] {
                             for (VakUserNode* node : nodes) s->_typedLists.add(node);
                           },
                       .undo =
                           [&] {
                             for (VakUserNode* node : nodes) s->_typedLists.remove(node);
                             s->_typedLists.end(s.impl());
                           },
                       .afterFailure = [&] { return std::string(s->_typedLists.check()); },
                       .mayKeep = "extractables that were entered before stay"};
     }},
    {"count and walk over the objects of a class",
     "VakTypedListManager::count VakTypedListManager::Iterator::Iterator "
     "VakTypedListManager::Iterator::ok VakTypedListManager::Iterator::operator* "
     "VakTypedListManager::Iterator::operator++",
     [](VakStage& s) {
       s->_typedLists.switchOn(s.impl());
       for (int i = 0; i < 3; ++i) {
         VakCreate<VakUserNode>(s.impl());
         VakCreate<VakUserVar>(s.impl());
         VakCreate<VakUserExpr>(s.impl());
       }
       return VakScene{.act =
                           [&] {
                             const VakTypedListManager& lists = s->_typedLists;
                             VakInt walked = lists.count(VakNumExprI::GetTypeInfo());
                             VakTypedListManager::Iterator i(lists, VakExtractableI::GetTypeInfo());
                             for (; i.ok(); ++i) walked += *i == nullptr ? 0 : 1;
                             if (walked != 15) throw std::logic_error("a count");
                           },
                       .afterFailure = [&] { return std::string(s->_typedLists.check()); },
                       .mayKeep = "lists of classes that were seen stay"};
     }},
    {"make and use a random generator",
     "VakUniqueRandomI::VakUniqueRandomI VakUniqueRandomI::reseed VakUniqueRandomI::getNum "
     "VakUniqueRandomI::getInt VakUniqueRandomI::operator() VakUniqueRandomI::min "
     "VakUniqueRandomI::max",
     [](VakStage& s) {
       auto& random = s.keep<VakUniqueRandomI*>(nullptr);
       return VakScene{.act =
                           [&] {
                             random = VakCreate<VakUniqueRandomI>(s.env, 3);
                             const auto first = (*random)();
                             random->reseed(3);
                             bool fine = (*random)() == first && random->getInt(1) == 0;
                             fine = fine && random->getNum() < 1;
                             fine = fine && VakUniqueRandomI::min() < VakUniqueRandomI::max();
                             if (!fine) throw std::logic_error("a number");
                           },
                       .undo = [&] { delete random; }};
     }},
    {"ask an object for its type",
     "VakRtti::getTypeIndex VakRtti::getTypeInfo VakRtti::isType VakRtti::getRttiTypeName "
     "VakRtti::getExtractableSize VakRtti::GetBaseTypeInfo VakRtti::GetTypeInfo "
     "VakRtti::GetTypeIndex VakGetBaseTypeInfo VakKeepDistinct VakAnswerAtOnce*",
     [](VakStage& s) {
       VakExtractableI* node = VakCreate<VakUserNode>(s.impl());
       return VakScene{.act = [node] {
         const VakRtti& object = *node;
         bool fine = object.isType(VakRtti::GetTypeInfo()) == 1 && VakRtti::GetTypeIndex() == 0;
         fine = fine && object.isType(VakExtractableI::GetTypeInfo()) == 1;
         fine = fine && VakRtti::GetBaseTypeInfo() == nullptr;
         fine = fine && VakGetBaseTypeInfo(object.getTypeInfo()) == VakExtractableI::GetTypeInfo();
         fine = fine && object.getTypeIndex() >= 0 && object.getExtractableSize() > 0;
         fine = fine && object.getRttiTypeName() != nullptr;
         static const VakInt word = 0;
         VakKeepDistinct(word);
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"give a class its type index", "VakRtti::GetTypeIndex",
     [](VakStage& /*s*/) {
       return VakScene{.act = [] {
         VakUserChange::_rttiIndex = 0;
         if (VakUserChange::GetTypeIndex() <= 0) throw std::logic_error("an index");
       }};
     },
     VakStageKind::Locked},
};

}  // namespace

VakFaultGroup VakSupportFaults() {
  return {"Symbols, typed lists, random numbers, types", _operations};
}
