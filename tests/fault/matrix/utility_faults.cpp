// Timer, streams, exceptions.

#include <sstream>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakbase/globals.h"
#include "vakenv/environment.h"
#include "vakenv/utilities.h"

namespace {

const std::vector<VakFaultOperation> _operations = {
    {"make and run a timer",
     "VakTimer::VakTimer VakTimer::getMemoryManager VakTimer::getEnv VakTimer::getCPUtime "
     "VakTimer::start VakTimer::stop VakTimer::getTime",
     [](VakStage& s) {
       return VakScene{.act = [&] {
         VakTimer timer(s.env);
         bool fine = timer.start() == 0 && timer.getTime() <= VakTimer::getCPUtime();
         fine = fine && timer.stop() >= 0 && timer.getEnv() == s.env;
         fine = fine && timer.getMemoryManager() == s.env.getMemoryManager();
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"write to the null stream", "VakNullStream::VakNullStream VakNullStream::Buf::Buf",
     [](VakStage& s) {
       struct Unseen {
         VakNullStream stream;
         VakNullStream::Buf buffer;
       };
       auto& unseen = s.keep<std::unique_ptr<Unseen>>();
       return VakScene{.act =
                           [&] {
                             unseen = std::make_unique<Unseen>();
                             unseen->stream << "unseen" << 3.5 << std::endl;
                           },
                       .undo = [&] { unseen.reset(); }};
     }},
    {"capture the text of a stream", "VakGetString",
     [](VakStage& s) {
       auto& stream = s.keep<std::ostringstream>();
       stream << "a text that is long enough to need memory of its own";
       auto& text = s.keep<char*>(nullptr);
       return VakScene{.act = [&] { text = VakGetString(stream); }, .undo = [&] { delete[] text; }};
     }},
    {"throw, copy and print an exception",
     "VakException::VakException VakException::operator= operator<<(VakException) "
     "VakException::what "
     "VakExceptionBase::getMessage VakExceptionBase::print VakExceptionBase::end "
     "VakWrongUsage::VakWrongUsage VakWrongUsage::operator= VakMemoryException::VakMemoryException "
     "VakEmptyHandleException::VakEmptyHandleException VakNotImplemented::VakNotImplemented "
     "VakNotSupportedOperation::VakNotSupportedOperation VakBadConversion::VakBadConversion "
     "VakEnvironmentMismatch::VakEnvironmentMismatch VakEnv::AbortException::AbortException "
     "VakEnv::IncompatibleMemoryManagerException::IncompatibleMemoryManagerException",
     [](VakStage& s) {
       auto& out = s.keep<VakUserStream>();
       return VakScene{
           .act =
               [&] {
                 VakWrongUsage usage("usage");
                 const VakMemoryException memory;
                 const VakEmptyHandleException empty;
                 const VakNotImplemented notImplemented;
                 const VakNotSupportedOperation notSupported;
                 const VakBadConversion conversion;
                 const VakEnvironmentMismatch mismatch;
                 const VakEnv::AbortException aborted;
                 const VakEnv::IncompatibleMemoryManagerException incompatible;
                 for (const VakException* e : std::initializer_list<const VakException*>{
                          &usage, &memory, &empty, &notImplemented, &notSupported, &conversion,
                          &mismatch, &aborted, &incompatible}) {
                   e->print(out);
                   out << *e;
                   VakException copy(*e);
                   copy = *e;
                   if (copy.what() != copy.getMessage()) throw std::logic_error("what");
                   copy.end();
                 }
                 const VakWrongUsage other("other");
                 usage = other;
               },
           .prepare = [&] { out.clear(); }};
     }},
    {"round a number", "VakGetInfinity VakTrunc",
     [](VakStage& /*s*/) {
       return VakScene{.act = [] {
         if (VakTrunc(2.5) != 2 || VakTrunc(VakGetInfinity()) <= 0)
           throw std::logic_error("a number");
       }};
     }},
};

}  // namespace

VakFaultGroup VakUtilityFaults() { return {"Timer, streams, exceptions", _operations}; }
