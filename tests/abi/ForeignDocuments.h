#pragma once

#include <Poco/JSON/Array.h>

#include <typeinfo>

/// Compiled twice: into the test, and into a module that shares no type information with anybody.
extern "C" {

/// Adds `count` objects with members of all kinds, held by pointer and by value in turn.
void addForeignDocuments(Poco::JSON::Array& documents, int count);

/// How texts and objects are known there.
const std::type_info* foreignTextType();
const std::type_info* foreignObjectType();
}
