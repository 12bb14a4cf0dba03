#include "tests/macos/loader/ThreadLocals.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace quarn::loader {
namespace {

constexpr std::size_t kAlignment = 64;

struct Free {
  void operator()(char* bytes) const { std::free(bytes); }
};

Image::ThreadLocals locals;
thread_local std::unique_ptr<char, Free> room;

char* makeRoom() {
  const std::size_t size = (locals.size + kAlignment - 1) / kAlignment * kAlignment;
  char* bytes = static_cast<char*>(std::aligned_alloc(kAlignment, size));
  std::memset(bytes, 0, size);
  if (locals.values.size != 0) std::memcpy(bytes + locals.valuesOffset, locals.values.data, locals.values.size);
  return bytes;
}

// A variable's descriptor; dyld has use for the key.
struct Descriptor {
  void* function;
  std::uint64_t key;
  std::uint64_t offset;
};

}  // namespace

void useThreadLocals(const Image& program) { locals = program.threadLocals(); }

}  // namespace quarn::loader

extern "C" {

__attribute__((used)) void* quarn_thread_local_place(const void* descriptor) {
  using namespace quarn::loader;
  if (room == nullptr) room.reset(makeRoom());
  return room.get() + static_cast<const Descriptor*>(descriptor)->offset;
}

asm(R"(
.text
.globl quarn_thread_local_address
quarn_thread_local_address:
  push %rbp
  mov %rsp, %rbp
  push %rdi
  push %rsi
  push %rdx
  push %rcx
  push %r8
  push %r9
  push %r10
  push %r11
  sub $528, %rsp
  and $-16, %rsp
  fxsave (%rsp)
  call quarn_thread_local_place
  fxrstor (%rsp)
  lea -64(%rbp), %rsp
  pop %r11
  pop %r10
  pop %r9
  pop %r8
  pop %rcx
  pop %rdx
  pop %rsi
  pop %rdi
  pop %rbp
  ret
)");

}  // extern "C"
