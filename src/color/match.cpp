// Match trees and match tables.
//
// A tree node is 256 pointer-sized slots. A slot holds kEmpty, an index below
// 256 (a leaf), or the address of the node of the next level. The root is
// indexed by blue. A blue that one entry alone has keeps that entry as a leaf;
// a blue that several have gets a node indexed by green over them, and a
// green there that entries of different reds share gets a node indexed by
// red. The first entry of an exact duplicate keeps the slot.
#include "color/match.h"

#include <cstring>

#include "color/palette.h"
#include "internal/memory.h"
#include "internal/threaddata.h"

namespace rv::color {

namespace {

using Slot = uintptr_t;
constexpr Slot kEmpty = ~Slot{0};
constexpr int32_t kMaxEntries = 256;

struct Node {
  Slot slots[256];
};

bool is_leaf(Slot s) noexcept { return s < 256; }
Node *node_of(Slot s) noexcept { return reinterpret_cast<Node *>(s); }

Node *new_node() noexcept {
  auto *node = static_cast<Node *>(alloc_block(sizeof(Node), false));
  if (node != nullptr) std::memset(node->slots, 0xFF, sizeof(node->slots));
  return node;
}

// Frees a node of level `level` (0 blue, 1 green, 2 red) and its children.
void free_node(Node *node, int level) noexcept {
  if (node == nullptr) return;
  if (level < 2) {
    for (Slot s : node->slots) {
      if (s != kEmpty && !is_leaf(s)) free_node(node_of(s), level + 1);
    }
  }
  free_block(node);
}

// The node indexed by red over the entries of blue `blue` and green `green`:
// the first entry of each red.
Node *build_red(const RGBQUAD *palette, int32_t count, uint8_t blue, uint8_t green) noexcept {
  Node *node = new_node();
  if (node == nullptr) return nullptr;
  for (int32_t i = 0; i < count; ++i) {
    const RGBQUAD &e = palette[i];
    if (e.rgbBlue != blue || e.rgbGreen != green) continue;
    Slot &s = node->slots[e.rgbRed];
    if (s == kEmpty) s = static_cast<Slot>(i);
  }
  return node;
}

// The node indexed by green over the entries of blue `blue`. A second entry
// at a green gets that green a red node, unless it repeats the red of the
// entry already there.
Node *build_green(const RGBQUAD *palette, int32_t count, uint8_t blue) noexcept {
  Node *node = new_node();
  if (node == nullptr) return nullptr;
  for (int32_t i = 0; i < count; ++i) {
    const RGBQUAD &e = palette[i];
    if (e.rgbBlue != blue) continue;
    Slot &s = node->slots[e.rgbGreen];
    if (s == kEmpty) {
      s = static_cast<Slot>(i);
    } else if (is_leaf(s) && palette[s].rgbRed != e.rgbRed) {
      Node *red = build_red(palette, count, blue, e.rgbGreen);
      if (red == nullptr) {
        free_node(node, 1);
        return nullptr;
      }
      s = reinterpret_cast<Slot>(red);
    }
  }
  return node;
}

Node *build_root(const RGBQUAD *palette, int32_t count) noexcept {
  Node *root = new_node();
  if (root == nullptr) return nullptr;
  for (int32_t i = 0; i < count; ++i) {
    Slot &s = root->slots[palette[i].rgbBlue];
    if (s == kEmpty) {
      s = static_cast<Slot>(i);
    } else if (is_leaf(s)) {
      Node *green = build_green(palette, count, palette[i].rgbBlue);
      if (green == nullptr) {
        free_node(root, 0);
        return nullptr;
      }
      s = reinterpret_cast<Slot>(green);
    }
  }
  return root;
}

}  // namespace

int32_t match_tree_build(MATCHTREE *tree, const RGBQUAD *palette, int32_t count) noexcept {
  if (tree == nullptr || palette == nullptr || count < 1 || count > kMaxEntries) {
    return ERROR_INVALID_PARAMETER;
  }
  Node *root = build_root(palette, count);
  if (root == nullptr) return ERROR_NO_MEMORY;
  match_tree_free(tree);
  tree->pRoot = root;
  return SUCCESS;
}

void match_tree_free(MATCHTREE *tree) noexcept {
  if (tree == nullptr) return;
  free_node(static_cast<Node *>(tree->pRoot), 0);
  tree->pRoot = nullptr;
}

int32_t match_find(const MATCHTREE *tree, uint8_t red, uint8_t green, uint8_t blue) noexcept {
  if (tree == nullptr || tree->pRoot == nullptr) return -1;
  const uint8_t channels[3] = {blue, green, red};
  const Node *node = static_cast<const Node *>(tree->pRoot);
  for (uint8_t c : channels) {
    const Slot s = node->slots[c];
    if (s == kEmpty) return -1;
    if (is_leaf(s)) return static_cast<int32_t>(s);
    node = node_of(s);
  }
  return -1;  // three levels always end in a leaf or an empty slot
}

uint32_t *new_match_table() noexcept {
  return static_cast<uint32_t *>(RV_ALLOC_INIT(kMatchTableEntries, sizeof(uint32_t)));
}

uint32_t *user_match_table() noexcept {
  return static_cast<uint32_t *>(thread_data().pUserMatchTable);
}

}  // namespace rv::color

int32_t Rv_IntMatchTreeCreate(MATCHTREE *pTree, const RGBQUAD *pPalette, int32_t nColors) noexcept {
  return rv::color::match_tree_build(pTree, pPalette, nColors);
}

int32_t Rv_IntMatchTreeFind(const MATCHTREE *pTree, int32_t nRed, int32_t nGreen,
                            int32_t nBlue) noexcept {
  // No palette colour lies outside the byte range.
  if (((static_cast<uint32_t>(nRed) | static_cast<uint32_t>(nGreen) |
        static_cast<uint32_t>(nBlue)) & ~0xFFu) != 0) {
    return -1;
  }
  return rv::color::match_find(pTree, static_cast<uint8_t>(nRed), static_cast<uint8_t>(nGreen),
                               static_cast<uint8_t>(nBlue));
}

int32_t Rv_IntMatchTreeFree(MATCHTREE *pTree) noexcept {
  if (pTree == nullptr) return ERROR_INVALID_PARAMETER;
  rv::color::match_tree_free(pTree);
  return SUCCESS;
}

uint32_t *Rv_CreateUserMatchTable(const RGBQUAD *pPalette, uint32_t uColors) noexcept {
  if (pPalette == nullptr || uColors > 0x7FFFFFFFu) return nullptr;
  uint32_t *table = rv::color::new_match_table();
  if (table == nullptr) return nullptr;
  const auto count = static_cast<int32_t>(uColors);
  for (uint32_t key = 0; key < rv::color::kMatchTableEntries; ++key) {
    const auto red = static_cast<int32_t>((key >> 10) << 3);
    const auto green = static_cast<int32_t>(((key >> 5) & 31) << 3);
    const auto blue = static_cast<int32_t>((key & 31) << 3);
    table[key] = static_cast<uint32_t>(
        rv::color::find_palette_index(pPalette, count, red, green, blue) + 1);
  }
  return table;
}

int32_t Rv_FreeUserMatchTable(uint32_t *pTable) noexcept {
  Rv_LocalFree(pTable);
  return SUCCESS;
}

uint32_t *Rv_SetUserMatchTable(uint32_t *pTable) noexcept {
  rv::THREADDATA &td = rv::thread_data();
  auto *former = static_cast<uint32_t *>(td.pUserMatchTable);
  td.pUserMatchTable = pTable;
  return former;
}
