#include "vakbase/exception.h"

#include <ostream>

VakExceptionBase::VakExceptionBase(const char* message, long flag)
    : _message(message), _flag(flag) {}

VakExceptionBase::VakExceptionBase(const VakExceptionBase& other) = default;

VakExceptionBase& VakExceptionBase::operator=(const VakExceptionBase& other) = default;

VakExceptionBase::~VakExceptionBase() = default;

const char* VakExceptionBase::getMessage() const { return _message; }

void VakExceptionBase::print(std::ostream& out) const {
  // A null pointer would set the stream's badbit.
  if (_message != nullptr) out << _message;
}

void VakExceptionBase::end() {
  if (_flag == 0) return;
  delete[] _message;
  _message = nullptr;
  _flag = 0;
}

VakException::VakException(const char* message, long flag) : VakExceptionBase(message, flag) {}

VakException::VakException(const VakException& other) = default;

VakException& VakException::operator=(const VakException& other) = default;

VakException::~VakException() = default;

const char* VakException::what() const noexcept { return _message != nullptr ? _message : ""; }

std::ostream& operator<<(std::ostream& out, const VakException& exception) {
  exception.print(out);
  return out;
}

VakWrongUsage::VakWrongUsage(const char* message) : VakException(message, 0) {}

VakWrongUsage::VakWrongUsage(const VakWrongUsage& other) = default;

VakWrongUsage& VakWrongUsage::operator=(const VakWrongUsage& other) = default;

VakWrongUsage::~VakWrongUsage() = default;
