// vfork, which a plan may let fail. Its child returns on the stack of its parent, so nothing of
// ours may be on the stack then: vfork has to be jumped to, and a compiler does not promise such a
// jump.

asm(".globl vfork\n"
    ".type vfork, %function\n"
    "vfork:\n"
    "    stp x29, x30, [sp, #-16]!\n"
    "    bl velmiro_vfork_target\n"
    "    ldp x29, x30, [sp], #16\n"
    "    cbz x0, 1f\n"
    "    br x0\n"
    "1:  mov w0, #-1\n"
    "    ret\n"
    ".size vfork, . - vfork\n");
