@ Between the phone's calling convention (the library: one row of words, stack aligned to 4) and this program's (stack
@ aligned to 8).
	.syntax unified
	.arch armv5te
	.text
	.arm

@ Every stub comes here with its entry in ip. The four register arguments are pushed just below those on the stack, so
@ that all of them are one row of words.
	.global crossing_enter
	.type crossing_enter, %function
crossing_enter:
	push	{r0-r3}
	mov	r0, ip
	mov	r1, sp
	push	{r4, lr}
	mov	r4, sp
	bic	sp, sp, #7
	bl	crossing_dispatch
	mov	sp, r4
	pop	{r4, lr}
	add	sp, sp, #16
	bx	lr
	.size crossing_enter, .-crossing_enter

@ uint64_t crossing_call(void* function, const uint32_t* words, uint32_t count, uint32_t skew)
@ words has at least four; the function's stack is skew bytes off an alignment of 8.
	.global crossing_call
	.type crossing_call, %function
crossing_call:
	push	{r4, r5, r6, lr}
	mov	r4, sp
	mov	ip, r0
	mov	r5, r1
	subs	r6, r2, #4
	movlt	r6, #0
	sub	r0, sp, r6, lsl #2
	bic	r0, r0, #7
	sub	sp, r0, r3
next:
	subs	r6, r6, #1
	blt	ready
	add	r1, r5, r6, lsl #2
	ldr	r1, [r1, #16]
	str	r1, [sp, r6, lsl #2]
	b	next
ready:
	ldmia	r5, {r0-r3}
	blx	ip
	mov	sp, r4
	pop	{r4, r5, r6, pc}
	.size crossing_call, .-crossing_call

	.section .note.GNU-stack, "", %progbits
