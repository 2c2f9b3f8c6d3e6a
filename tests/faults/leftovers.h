// What may be found beside a message when something was left behind.
#ifndef ZEVKA_TESTS_FAULTS_LEFTOVERS_H
#define ZEVKA_TESTS_FAULTS_LEFTOVERS_H

#include <zevka/file_operations.h>

#include <string>
#include <vector>

namespace zevka::test {

// Every name that the library may derive from the message's own in one of the scenarios.
std::vector<std::string> DerivedNames(const std::string& own);

// Those of them that exist, in memory or on disk.
std::vector<std::string> NamesThatExist(const FileOperations& files, const std::string& own);

// Removes a name until nothing has it: a memory file may hide a disk file.
void RemoveWholly(const FileOperations& files, const std::string& name);

// The descriptors that this process has open.
int OpenDescriptors();

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FAULTS_LEFTOVERS_H
