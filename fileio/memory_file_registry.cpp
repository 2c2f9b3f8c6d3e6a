#include "fileio/memory_file_registry.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

namespace zevka {
namespace {

using Node = RegistryNode;
using Side = std::size_t;  // 0 left, 1 right

bool IsRed(const Node* node) {
  return node != nullptr && node->colour == NodeColour::kRed;
}

Side Other(Side side) {
  return 1 - side;
}

Side SideOf(const Node* node) {
  return node->parent->child[1] == node ? 1 : 0;
}

CompareKeys OrderingOf(const MemoryFileRegistry& registry) {
  return registry.compare == nullptr ? &CompareKeyValues : registry.compare;
}

// Puts `successor`, which may be null, where `node` hangs.
void Replace(MemoryFileRegistry& registry, const Node* node, Node* successor) {
  Node* const parent = node->parent;
  if (parent == nullptr) {
    registry.root = successor;
  } else {
    parent->child[SideOf(node)] = successor;
  }
  if (successor != nullptr) {
    successor->parent = parent;
  }
}

// Turns `node` down to `side`; its child of the other side takes its place.
void Rotate(MemoryFileRegistry& registry, Node* node, Side side) {
  Node* const up = node->child[Other(side)];
  Replace(registry, node, up);
  Node* const moved = up->child[side];
  node->child[Other(side)] = moved;
  if (moved != nullptr) {
    moved->parent = node;
  }
  up->child[side] = node;
  node->parent = up;
}

// `node` has turned red: makes a root black, and parts two reds in a row by rotation. The parent's
// sibling is black, as every pair of red children was split further up on the way.
void MendRed(MemoryFileRegistry& registry, Node* node) {
  Node* const parent = node->parent;
  if (parent == nullptr) {
    node->colour = NodeColour::kBlack;
    return;
  }
  if (!IsRed(parent)) {
    return;
  }
  Node* const grandparent = parent->parent;
  const Side side = SideOf(parent);
  Node* top = parent;
  if (SideOf(node) != side) {
    Rotate(registry, parent, side);
    top = node;
  }
  Rotate(registry, grandparent, Other(side));
  top->colour = NodeColour::kBlack;
  grandparent->colour = NodeColour::kRed;
}

void SplitRedChildren(MemoryFileRegistry& registry, Node* node) {
  if (IsRed(node->child[0]) && IsRed(node->child[1])) {
    node->colour = NodeColour::kRed;
    node->child[0]->colour = NodeColour::kBlack;
    node->child[1]->colour = NodeColour::kBlack;
    MendRed(registry, node);
  }
}

// Makes `node` or its child of `side` red, so that a node taken away below is a red one.
void PushRedDown(MemoryFileRegistry& registry, Node* node, Side side) {
  if (IsRed(node) || IsRed(node->child[side])) {
    return;
  }
  Node* const redChild = node->child[Other(side)];
  if (IsRed(redChild)) {
    Rotate(registry, node, side);
    node->colour = NodeColour::kRed;
    redChild->colour = NodeColour::kBlack;
    return;
  }
  Node* const parent = node->parent;
  if (parent == nullptr) {
    return;
  }
  const Side own = SideOf(node);
  // There is one: a black node has as many black nodes beside it as its own way down has.
  Node* const sibling = parent->child[Other(own)];
  if (!IsRed(sibling->child[0]) && !IsRed(sibling->child[1])) {
    parent->colour = NodeColour::kBlack;
    sibling->colour = NodeColour::kRed;
    node->colour = NodeColour::kRed;
    return;
  }
  if (IsRed(sibling->child[own])) {
    Rotate(registry, sibling, Other(own));
  }
  Rotate(registry, parent, own);
  Node* const top = parent->parent;
  node->colour = NodeColour::kRed;
  top->colour = NodeColour::kRed;
  top->child[0]->colour = NodeColour::kBlack;
  top->child[1]->colour = NodeColour::kBlack;
}

const Node* LeftmostOf(const Node* node) {
  while (node->child[0] != nullptr) {
    node = node->child[0];
  }
  return node;
}

const Node* NextInOrder(const Node* node) {
  if (node->child[1] != nullptr) {
    return LeftmostOf(node->child[1]);
  }
  while (node->parent != nullptr && SideOf(node) == 1) {
    node = node->parent;
  }
  return node->parent;
}

}  // namespace

RegistryResult RegistryCreate(MemoryFileRegistry** out) {
  if (out == nullptr) {
    return RegistryResult::kNullArgument;
  }
  auto* const made = new (std::nothrow) MemoryFileRegistry;
  if (made == nullptr) {
    return RegistryResult::kNoContainerMemory;
  }
  *out = made;
  return RegistryResult::kSuccess;
}

int CompareKeyValues(const void* left, const void* right) {
  const auto leftValue = reinterpret_cast<std::uintptr_t>(left);
  const auto rightValue = reinterpret_cast<std::uintptr_t>(right);
  if (leftValue == rightValue) {
    return 0;
  }
  return leftValue < rightValue ? -1 : 1;
}

CompareKeys RegistrySetOrdering(MemoryFileRegistry& registry, CompareKeys compare) {
  const CompareKeys before = registry.compare;
  registry.compare = compare == &CompareKeyValues ? nullptr : compare;
  return before;
}

VisitEntry RegistrySetVisit(MemoryFileRegistry& registry, VisitEntry visit, void* context) {
  const VisitEntry before = registry.visit;
  registry.visit = visit;
  registry.visitContext = context;
  return before;
}

RegistryResult RegistryFind(const MemoryFileRegistry* registry, const void* key, void** out) {
  *out = nullptr;
  if (registry == nullptr) {
    return RegistryResult::kNullArgument;
  }
  const CompareKeys compare = OrderingOf(*registry);
  for (const Node* node = registry->root; node != nullptr;) {
    const int order = compare(key, node->key);
    if (order == 0) {
      *out = node->value;
      return RegistryResult::kSuccess;
    }
    node = node->child[order > 0 ? 1 : 0];
  }
  return RegistryResult::kNotFound;
}

RegistryResult RegistryInsert(MemoryFileRegistry* registry, const void* key, void* value,
                              void** existing) {
  // Looked up first: an entry that is there must not turn the tree about.
  const RegistryResult found = RegistryFind(registry, key, existing);
  if (found != RegistryResult::kNotFound) {
    return found;
  }
  Node* const fresh = new (std::nothrow) Node{NodeColour::kRed, key, value, nullptr, {}};
  if (fresh == nullptr) {
    return RegistryResult::kNoNodeMemory;
  }
  const CompareKeys compare = OrderingOf(*registry);
  Node* node = registry->root;
  Node* parent = nullptr;
  Side side = 0;
  while (node != nullptr) {
    SplitRedChildren(*registry, node);
    parent = node;
    side = compare(key, node->key) > 0 ? 1 : 0;
    node = node->child[side];
  }
  fresh->parent = parent;
  if (parent == nullptr) {
    registry->root = fresh;
  } else {
    parent->child[side] = fresh;
  }
  MendRed(*registry, fresh);
  if (registry->root->parent != nullptr) {
    std::abort();
  }
  return RegistryResult::kSuccess;
}

RegistryResult RegistryRemove(MemoryFileRegistry* registry, const void* key, void** out) {
  if (registry == nullptr) {
    return RegistryResult::kNullArgument;
  }
  const CompareKeys compare = OrderingOf(*registry);
  Node* found = nullptr;
  Node* last = nullptr;  // from `found` on the way leads to the entry just before it
  for (Node* node = registry->root; node != nullptr;) {
    const int order = compare(key, node->key);
    if (order == 0) {
      found = node;
    }
    const Side side = order > 0 ? 1 : 0;
    PushRedDown(*registry, node, side);
    last = node;
    node = node->child[side];
  }
  std::unique_ptr<Node> spare;
  if (found != nullptr) {
    *out = found->value;
    found->key = last->key;
    found->value = last->value;
    Replace(*registry, last, last->child[last->child[0] == nullptr ? 1 : 0]);
    spare.reset(last);
  }
  if (registry->root != nullptr) {
    registry->root->colour = NodeColour::kBlack;
  }
  return found == nullptr ? RegistryResult::kNotFound : RegistryResult::kSuccess;
}

RegistryResult RegistryWalk(const MemoryFileRegistry* registry, VisitEntry visit, void* context) {
  if (registry == nullptr) {
    return RegistryResult::kNullArgument;
  }
  if (visit == nullptr) {
    visit = registry->visit;
    context = registry->visitContext;
  }
  if (visit == nullptr || registry->root == nullptr) {
    return RegistryResult::kSuccess;
  }
  for (const Node* node = LeftmostOf(registry->root); node != nullptr; node = NextInOrder(node)) {
    if (visit(node->key, node->value, context) != 0) {
      break;
    }
  }
  return RegistryResult::kSuccess;
}

RegistryResult RegistryDestroy(MemoryFileRegistry* registry) {
  if (registry == nullptr) {
    return RegistryResult::kNullArgument;
  }
  const std::unique_ptr<MemoryFileRegistry> owned(registry);
  while (owned->root != nullptr) {
    const void* const key = owned->root->key;
    void* value = nullptr;
    RegistryRemove(owned.get(), key, &value);
    if (owned->visit != nullptr) {
      owned->visit(key, value, owned->visitContext);
    }
  }
  return RegistryResult::kSuccess;
}

}  // namespace zevka
