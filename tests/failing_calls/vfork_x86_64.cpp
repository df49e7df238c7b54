// vfork, which a plan may let fail. Its child returns on the stack of its parent, so nothing of
// ours may be on the stack then: vfork has to be jumped to, and a compiler does not promise such a
// jump.

asm(".globl vfork\n"
    ".type vfork, @function\n"
    "vfork:\n"
    "    sub $8, %rsp\n"
    "    call velmiro_vfork_target@plt\n"
    "    add $8, %rsp\n"
    "    test %rax, %rax\n"
    "    je 1f\n"
    "    jmp *%rax\n"
    "1:  mov $-1, %eax\n"
    "    ret\n"
    ".size vfork, . - vfork\n");
