// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

// Sending a message is a jump to the method's code with all arguments as they are. So the code below, which
// cannot be C++, puts every register that may hold an argument aside, asks for the method, puts them back and
// jumps. Only for x86_64.
#include <cstdio>
#include <cstdlib>

#include "tests/macos/runtime/Classes.h"

using namespace wicket::objc;

namespace {

/// What the compiler hands over for a message to super.
struct SuperCall {
  Object* receiver;
  const Class* current;  ///< the class whose method sends it
};

Implementation methodOrEnd(const Class* c, Selector selector) {
  if (Implementation method = findMethod(c, selector)) return method;
  std::fprintf(stderr, "%c[%s %s]: unrecognized selector\n", c->isMetaclass() ? '+' : '-', c->data->name, selector);
  std::abort();
}

}  // namespace

extern "C" {

Implementation wicket_find_method(const Object* receiver, Selector selector) {
  return methodOrEnd(receiver->isa, selector);
}

Implementation wicket_find_super_method(const SuperCall* call, Selector selector) {
  return methodOrEnd(call->current->superclass, selector);
}
}

__asm__(R"(
.macro WICKET_SAVE_ARGUMENTS
  push %rbp
  mov %rsp, %rbp
  sub $192, %rsp
  mov %rdi, (%rsp)
  mov %rsi, 8(%rsp)
  mov %rdx, 16(%rsp)
  mov %rcx, 24(%rsp)
  mov %r8, 32(%rsp)
  mov %r9, 40(%rsp)
  mov %rax, 48(%rsp)
  movups %xmm0, 64(%rsp)
  movups %xmm1, 80(%rsp)
  movups %xmm2, 96(%rsp)
  movups %xmm3, 112(%rsp)
  movups %xmm4, 128(%rsp)
  movups %xmm5, 144(%rsp)
  movups %xmm6, 160(%rsp)
  movups %xmm7, 176(%rsp)
.endm

.macro WICKET_RESTORE_ARGUMENTS
  mov %rax, %r11
  mov (%rsp), %rdi
  mov 8(%rsp), %rsi
  mov 16(%rsp), %rdx
  mov 24(%rsp), %rcx
  mov 32(%rsp), %r8
  mov 40(%rsp), %r9
  mov 48(%rsp), %rax
  movups 64(%rsp), %xmm0
  movups 80(%rsp), %xmm1
  movups 96(%rsp), %xmm2
  movups 112(%rsp), %xmm3
  movups 128(%rsp), %xmm4
  movups 144(%rsp), %xmm5
  movups 160(%rsp), %xmm6
  movups 176(%rsp), %xmm7
  leave
.endm

.text

# receiver in rdi, selector in rsi; a message to nil answers zero
.globl objc_msgSend
.type objc_msgSend, @function
objc_msgSend:
  test %rdi, %rdi
  jz 1f
  WICKET_SAVE_ARGUMENTS
  call wicket_find_method@PLT
  WICKET_RESTORE_ARGUMENTS
  jmp *%r11
1:
  xor %eax, %eax
  xor %edx, %edx
  pxor %xmm0, %xmm0
  pxor %xmm1, %xmm1
  ret
.size objc_msgSend, . - objc_msgSend

# The same for a method that returns a large structure: its address is in rdi, the rest one register further.
# The compiler answers such a message to nil by itself.
.globl objc_msgSend_stret
.type objc_msgSend_stret, @function
objc_msgSend_stret:
  test %rsi, %rsi
  jz 1f
  WICKET_SAVE_ARGUMENTS
  mov %rsi, %rdi
  mov %rdx, %rsi
  call wicket_find_method@PLT
  WICKET_RESTORE_ARGUMENTS
  jmp *%r11
1:
  mov %rdi, %rax
  ret
.size objc_msgSend_stret, . - objc_msgSend_stret

# A SuperCall in rdi, which becomes the receiver.
.globl objc_msgSendSuper2
.type objc_msgSendSuper2, @function
objc_msgSendSuper2:
  WICKET_SAVE_ARGUMENTS
  call wicket_find_super_method@PLT
  WICKET_RESTORE_ARGUMENTS
  mov (%rdi), %rdi
  jmp *%r11
.size objc_msgSendSuper2, . - objc_msgSendSuper2
.section .note.GNU-stack, "", @progbits
.text
)");
