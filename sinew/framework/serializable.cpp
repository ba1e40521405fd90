#include <sinew/framework/serializable.h>

// This source defines the exception only, because tags and the reader throw it and fields are built on both. The
// operations of `Serializable` call fields, so they are in fields.cpp. The functions on documents are in document.cpp.

Serializable::LoadFail::LoadFail(std::string const& message) : std::runtime_error(message) {}

Serializable::LoadFail::~LoadFail() = default;
