# Rewrites the compiler's ELF assembler (ARM state) for the Windows CE assembler: awk -f elf-to-pe.awk unit.s
#
# Every directive is on a list; one that is not is an error, so nothing that only ELF knows slips through. What a library
# for a phone must not contain (constructors that run by themselves, guarded statics, unwind tables, thread-local data)
# shows itself in sections and symbols and is refused here, one line "file:line: what" each, and exit status 1.
#
# Shared definitions (inline functions, templates, vtables) are comdat groups and weak symbols in ELF, merged symbol by
# symbol; here sections are merged, told apart by one symbol. So every weak symbol gets a section named after it.

BEGIN {
  known[".text"] = ".text x"
  known[".rodata"] = ".rdata r"
  known[".data"] = ".data w"
  known[".bss"] = ".bss b"

  split(".syntax .align .balign .p2align .global .globl .arm .code .ltorg .pool .word .long .short .hword .byte " \
        ".2byte .4byte .8byte .quad .space .skip .zero .fill", list, " ")
  for (i in list) kept[list[i]] = 1
  split(".type .size .file .fpu .arch .cpu .ident .hidden .internal .protected .eabi_attribute", list, " ")
  for (i in list) dropped[list[i]] = 1

  # Sections, by how their names begin, that a phone's library must not have.
  split(".init_array .preinit_array .fini_array .ctors .dtors", list, " ")
  for (i in list) refused[list[i]] = "an object that is constructed or destroyed at run time"
  refused[".tdata"] = refused[".tbss"] = "thread-local data"
  refused[".ARM.ex"] = refused[".eh_frame"] = refused[".gcc_except_table"] = "unwind tables (an exception?)"

  current = "\t.text"
  code = 1
}

function refuse(what) {
  printf "%s:%d: %s: %s\n", FILENAME, FNR, what, $0 >"/dev/stderr"
  failed = 1
}

function open_section(name, suffix, flag, once) {
  if (suffix == "" && name == ".text") {
    current = "\t.text"
  } else {
    current = "\t.section " name (suffix == "" ? "" : "$" suffix) ",\"" flag "\""
  }
  if (once) current = current "\n\t.linkonce discard"
  print current
}

# .section NAME,"flags",... ; the part of the name after the kind tells functions and objects apart.
function take_section(text,    name, stem, once, kind, prefix, place) {
  name = text
  sub(/,.*/, "", name)
  gsub(/"/, "", name)
  skipping = name ~ /^\.(note\.GNU-stack|comment)/
  if (skipping) return
  for (prefix in refused) {
    if (index(name, prefix) == 1) {
      refuse(refused[prefix])
      return
    }
  }
  match(name, /^\.[a-z]+/)
  kind = substr(name, 1, RLENGTH)
  stem = substr(name, RLENGTH + 2)
  if (!(kind in known)) {
    refuse("unknown section")
    return
  }
  if (kind == ".rodata" && stem ~ /^(str|cst)[0-9.]*$/) stem = ""
  once = text ~ /,comdat *$/
  if (once && stem == "") refuse("a comdat section without a name")
  comdat = once ? stem : ""
  code = kind == ".text"
  split(known[kind], place, " ")
  open_section(place[1], stem, place[2], once)
}

# A symbol that is another one's second name. A weak one (a constructor's) becomes a branch, in a section of its own.
function take_alias(name, target) {
  if (name ~ /^\.LTHUNK/) {
    thunk[name] = target
  } else if (!(name in weak)) {
    print
  } else if (!code) {
    refuse("a weak second name of data")
  } else {
    printf "\t.section .text$%s,\"x\"\n\t.linkonce discard\n\t.align\t2\n\t.arm\n", name
    printf "%s:\n\tb\t%s\n%s\n", name, target, current
    delete weak[name]
  }
}

function take_directive(directive,    text, part) {
  if (directive == ".section") {
    text = $0
    sub(/^[ \t]*\.section[ \t]+/, "", text)
    take_section(text)
  } else if (directive in known) {
    take_section(directive)
  } else if (skipping || directive in dropped || directive ~ /^\.cfi_/) {
    return
  } else if (directive in kept) {
    print
  } else if (directive == ".local") {
    is_local[$2] = 1
  } else if (directive == ".comm") {
    split($2, part, ",")
    if (!(part[1] in is_local)) refuse("a common symbol")
    printf "\t.bss\n\t.balign %d\n%s:\n\t.space %d\n%s\n", part[3], part[1], part[2], current
  } else if (directive == ".weak") {
    weak[$2] = FNR
    print "\t.global\t" $2
  } else if (directive == ".set") {
    split($2, part, ",")
    take_alias(part[1], part[2])
  } else if (directive == ".inst") {
    print "\t.word\t" $2
  } else {
    refuse("unknown directive")
  }
}

# A second weak symbol in a section (a thunk that adjusts this) starts a section of its own.
function take_label(name) {
  if (!(name in weak)) return
  delete weak[name]
  if (comdat == "") {
    refuse("a weak definition outside a comdat section")
  } else if (name != comdat) {
    if (!code) refuse("two weak objects in one section")
    comdat = name
    open_section(".text", name, "x", 1)
    print "\t.align\t2"
  }
}

/^[ \t]*(@|$)/ || /^#/ { next }
/^[ \t]*\.(ascii|asciz|string)[ \t]/ { if (!skipping) print; next }

/_ZGV/ { refuse("a static object with a guard"); next }
/__cxa_(throw|allocate_exception|begin_catch|rethrow)/ { refuse("an exception"); next }
/[ \t]bl?[ \t]+__[a-z]*[sd]f[a-z0-9]*$/ { refuse("floating-point arithmetic"); next }
/__aeabi_read_tp|__emutls/ { refuse("thread-local data"); next }
/\.cold/ { refuse("a function split in two"); next }
/\((target1|got|plt|got_prel|tpoff|gottpoff|tlsgd)\)/ || /\((TARGET1|GOT|PLT|GOT_PREL|TPOFF)\)/ {
  refuse("a relocation that only ELF has")
  next
}

/^[ \t]*\.[a-z0-9_]+([ \t]|$)/ { take_directive($1); next }
skipping { next }
/^[A-Za-z_][A-Za-z0-9_.$]*:/ { take_label(substr($1, 1, index($1, ":") - 1)) }

{
  for (name in thunk) sub(name "$", thunk[name])
  print
}

END {
  delete weak["__cxa_pure_virtual"]  # defined by the runtime
  for (name in weak) {
    printf "%s:%d: a weak reference to %s\n", FILENAME, weak[name], name >"/dev/stderr"
    failed = 1
  }
  exit failed
}
