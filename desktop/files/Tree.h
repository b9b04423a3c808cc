// Everything below a folder of the phone, found before anything is fetched, so that the work that lies ahead is known.
#pragma once

#include <functional>

#include "desktop/files/PhoneFiles.h"

namespace brelix {

struct TreeNode {
  PhonePath path;
  std::string local;  // relative to what the root becomes here
  FileEntry entry;
};

struct Tree {
  std::vector<TreeNode> nodes;  // a folder stands before what is in it
  Problems problems;            // folders that could not be listed, names that lead nowhere
};

// The same one by one, for who keeps them elsewhere. `looked` is told after each folder. Returns the problems.
using TakeNode = std::function<void(TreeNode)>;
Problems WalkNodes(PhoneFiles& files, const PhonePath& root, const TakeNode& take,
                   const std::function<void()>& looked = {});

// Folders without an end are cut off: no path of a phone is longer than 260 units. `found` is told how many nodes there
// are after each folder.
Tree WalkTree(PhoneFiles& files, const PhonePath& root, const std::function<void(size_t)>& found = {});

}  // namespace brelix
