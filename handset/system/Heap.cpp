#include "handset/system/Heap.h"

#include <cstdlib>
#include <new>
#include <string>

#include "handset/Enter.h"

namespace handset {

namespace {

// In front of every block, so that it finds its ledger from any thread, also after its phone is gone.
struct alignas(std::max_align_t) BlockHeader {
  std::shared_ptr<Ledger> ledger;
  Held kind;
};

BlockHeader* HeaderOf(void* block) {
  return static_cast<BlockHeader*>(static_cast<void*>(static_cast<std::byte*>(block) - sizeof(BlockHeader)));
}

// The one heap that a process has from the start.
constexpr ce::HANDLE kProcessHeap{0x00010000};

}  // namespace

void* AllocateBlock(const std::shared_ptr<Ledger>& ledger, Held kind, std::size_t bytes) {
  void* memory = std::malloc(sizeof(BlockHeader) + bytes);
  if (memory == nullptr) return nullptr;
  void* block = static_cast<std::byte*>(memory) + sizeof(BlockHeader);
  try {
    if (ledger) ledger->Hold(kind, reinterpret_cast<std::uintptr_t>(block), std::to_string(bytes) + " bytes");
  } catch (...) {
    std::free(memory);
    throw;
  }
  new (memory) BlockHeader{ledger, kind};
  return block;
}

void FreeBlock(void* block) {
  BlockHeader* header = HeaderOf(block);
  if (header->ledger) header->ledger->Drop(header->kind, reinterpret_cast<std::uintptr_t>(block));
  header->~BlockHeader();
  std::free(header);
}

void* AllocateOnHeap(Phone& phone, ce::HANDLE heap, std::size_t bytes) {
  return heap == kProcessHeap ? AllocateBlock(phone.ledger, Held::kHeapBlock, bytes) : nullptr;
}

}  // namespace handset

namespace ce {

using handset::Call;
using handset::Enter;
using handset::Held;
using handset::Phone;

HANDLE GetProcessHeap() {
  return Enter<Call::GetProcessHeap>(handset::ThisPhone(), [] { return handset::kProcessHeap; });
}

BOOL HeapFree(HANDLE heap, DWORD, void* block) {
  Phone& phone = handset::ThisPhone();
  const auto free = [&]() -> BOOL {
    if (heap != handset::kProcessHeap) throw handset::Failure{ERROR_INVALID_PARAMETER};
    if (block != nullptr) handset::FreeBlock(block);
    return 1;
  };
  // A block that the phone would not take back is the phone's own from then on, and goes with it.
  return Enter<Call::HeapFree>(phone, free, [&] {
    if (block == nullptr) return;
    phone.ledger->Refuse(Held::kHeapBlock, reinterpret_cast<std::uintptr_t>(block));
    phone.outside.Keep(phone.ledger->NextId(), [block] { handset::FreeBlock(block); });
  });
}

}  // namespace ce
