"""Writes wrappers, in C, that record the calls of functions whose prototypes stand in headers; QxTraceFunctions.cmake,
which runs this while a program is built, tells how they are asked for.

libclang describes the functions: the module clang.cindex must be there (on Debian: python3-clang). A function that
cannot be wrapped is refused, and nothing is written; what is wrong with all of them is told at once.
"""

import argparse
import difflib
import re
import sys
from pathlib import Path

from clang.cindex import CursorKind, Diagnostic, Index, LinkageKind, TranslationUnitLoadError, TypeKind

# The recorder's words for the types of C.
KINDS = {
    TypeKind.BOOL: "bool",
    TypeKind.CHAR_S: "char",
    TypeKind.CHAR_U: "char",
    TypeKind.SCHAR: "schar",
    TypeKind.UCHAR: "uchar",
    TypeKind.SHORT: "short",
    TypeKind.USHORT: "ushort",
    TypeKind.INT: "int",
    TypeKind.UINT: "uint",
    TypeKind.LONG: "long",
    TypeKind.ULONG: "ulong",
    TypeKind.LONGLONG: "llong",
    TypeKind.ULONGLONG: "ullong",
    TypeKind.FLOAT: "float",
    TypeKind.DOUBLE: "double",
    TypeKind.LONGDOUBLE: "ldouble",
}
# Types of the same name everywhere and another width here or there go by their names.
NAMED_KINDS = {f"{sign}int{bits}_t": f"{sign}int{bits}" for sign in ("", "u") for bits in (8, 16, 32, 64)}
NAMED_KINDS["size_t"] = "size"
LENGTHS = set(KINDS.values()) - {"bool", "float", "double", "ldouble"} | set(NAMED_KINDS.values())
SIGNED = {"char", "schar", "short", "int", "long", "llong", "int8", "int16", "int32", "int64"}
ARRAYS = (TypeKind.CONSTANTARRAY, TypeKind.INCOMPLETEARRAY)
FUNCTIONS = (TypeKind.FUNCTIONPROTO, TypeKind.FUNCTIONNOPROTO)


class Refusal(Exception):
    """What was asked for cannot be had; the text tells the user why."""


def steps_of(type_):
    """The type, and what stands behind its name, and so on, down to what is no name."""
    while type_ is not None:
        yield type_
        if type_.kind == TypeKind.ELABORATED:
            type_ = type_.get_named_type()
        elif type_.kind == TypeKind.TYPEDEF:
            type_ = type_.get_declaration().underlying_typedef_type
        elif type_.kind == TypeKind.ENUM:
            type_ = type_.get_declaration().enum_type
        else:
            canonical = type_.get_canonical()
            type_ = canonical if canonical.kind != type_.kind else None


def number_kind(type_):
    """The recorder's word for a number; None for what is none."""
    for step in steps_of(type_):
        name = step.get_declaration().spelling if step.kind == TypeKind.TYPEDEF else None
        if name in NAMED_KINDS:
            return NAMED_KINDS[name]
    return KINDS.get(step.kind)


def pointee_of(type_):
    """What a pointer points to, or what of an array or a function is passed as one; None of anything else."""
    canonical = type_.get_canonical()
    if canonical.kind == TypeKind.POINTER:
        return canonical.get_pointee()
    if canonical.kind in FUNCTIONS:
        return canonical
    return canonical.element_type if canonical.kind in ARRAYS else None


def is_char(type_):
    return type_ is not None and type_.get_canonical().kind in (TypeKind.CHAR_S, TypeKind.CHAR_U)


def is_va_list(type_):
    return any(step.kind == TypeKind.TYPEDEF and step.spelling.endswith("va_list") for step in steps_of(type_))


def kind_of(type_):
    """The recorder's word for a value of the type as it is: texts where nobody is going to write. None without one."""
    pointee = pointee_of(type_)
    if is_va_list(type_):
        return None
    if pointee is None:
        return number_kind(type_)
    # An array of what is constant is itself constant.
    of_constants = pointee if type_.get_canonical().kind == TypeKind.POINTER else type_.get_canonical()
    return "text" if is_char(pointee) and of_constants.is_const_qualified() else "pointer"


def declare(type_, name):
    """A declaration of the name in C; clang leaves no place for it in the types of pointers to functions and arrays."""
    spelling = type_.spelling
    inner = re.search(r"\(\*[^()\[]*(?=[)\[])", spelling) or re.search(r"^[^\[]*(?=\[)", spelling)
    if inner:
        return f"{spelling[:inner.end()]}{'' if inner.group()[-1] in '* ' else ' '}{name}{spelling[inner.end():]}"
    return f"{spelling}{'' if spelling.endswith('*') else ' '}{name}"


def as_address(type_, expression):
    """What converts to const void* without a warning: that of a function does not, nor does one of what is volatile."""
    pointee = pointee_of(type_)
    is_plain = not pointee.is_volatile_qualified() and pointee.get_canonical().kind not in FUNCTIONS
    return expression if is_plain else f"(const void*)(uintptr_t)({expression})"


class Argument:
    def __init__(self, cursor, number):
        self.type = cursor.type
        self.name = cursor.spelling or f"argument{number}"


class Beyond:
    """A value beyond the arguments: what one of them points to, or a member of that, at entry or at exit."""

    def __init__(self, argument, member, type_, kind):
        self.argument = argument
        self.type = type_
        self.kind = kind
        self.variable = f"qx_out_{argument.name}" + (f"_{member}" if member else "")
        self.value = f"{argument.name}->{member}" if member else f"*{argument.name}"

    @property
    def nothing(self):
        return "NULL" if self.kind in ("pointer", "text") else "0"

    def in_mark(self):
        value = as_address(self.type, self.value) if self.kind == "pointer" else self.value
        return f"QX_IN({self.kind}, {self.argument.name} != NULL ? {value} : {self.nothing})"

    def out_mark(self):
        return f"QX_OUT({self.kind}, {self.variable})"

    def fetch(self):
        value = as_address(self.type, self.value) if self.kind == "pointer" else self.value
        return f"if ({self.argument.name} != NULL) {self.variable} = {value};"


class Buffer(Beyond):
    """A text that the function writes where an argument points to."""

    def __init__(self, argument):
        super().__init__(argument, "", argument.type, "text")

    def fetch(self):
        return f"{self.variable} = {self.argument.name};"


class Function:
    def __init__(self, cursor, name):
        self.name = name
        self.check(cursor)
        self.result = cursor.result_type
        self.arguments = [Argument(each, number) for number, each in enumerate(cursor.get_arguments(), 1)]
        self.addresses = set()  # names of arguments that are no texts
        self.bytes = {}  # names of arguments to names of their lengths
        self.at_entry = []
        self.at_exit = []

    def check(self, cursor):
        if cursor.linkage != LinkageKind.EXTERNAL or cursor.is_definition():
            self.refuse("is defined in the header, where no linker sees its calls")
        if cursor.type.kind != TypeKind.FUNCTIONPROTO:
            self.refuse("is declared without its parameters; the header should say (void) where there are none")
        if cursor.type.is_function_variadic():
            self.refuse("takes a variable number of arguments, which no wrapper can hand on; mark its callers by hand")
        if any(child.kind == CursorKind.ASM_LABEL_ATTR for child in cursor.get_children()):
            self.refuse(f"is linked under another name, {cursor.mangled_name}; declare and name that one")

    def refuse(self, text):
        raise Refusal(f"{self.name} {text}")

    def argument(self, name):
        for argument in self.arguments:
            if argument.name == name:
                return argument
        names = ", ".join(argument.name for argument in self.arguments) or "none"
        return self.refuse(f'has no argument "{name}"; there are: {names}')

    def pointer(self, name):
        argument = self.argument(name)
        if pointee_of(argument.type) is None:
            self.refuse(f"has {declare(argument.type, name)}, which points to nothing that could be recorded")
        return argument

    def add_address(self, name):
        self.addresses.add(self.pointer(name).name)

    def add_bytes(self, name, length):
        if number_kind(self.argument(length).type) not in LENGTHS:
            self.refuse(f"has {declare(self.argument(length).type, length)}, which is no length of {name}")
        self.bytes[self.pointer(name).name] = length

    def add_in(self, name, member):
        self.at_entry.append(self.beyond(self.pointer(name), member))

    def add_out(self, name, member):
        argument = self.pointer(name)
        is_text = not member and is_char(pointee_of(argument.type))
        self.at_exit.append(Buffer(argument) if is_text else self.beyond(argument, member))

    def beyond(self, argument, member):
        type_ = pointee_of(argument.type)
        if member:
            fields = {field.spelling: field for field in type_.get_fields() if not field.is_bitfield()}
            if member not in fields:
                self.refuse(f"has {declare(argument.type, argument.name)}, and there is no member {member} in what that"
                            f" leads to{near(member, fields)}")
            type_ = fields[member].type
        kind = None if type_.get_canonical().kind in ARRAYS + FUNCTIONS else kind_of(type_)
        if kind == "pointer" and is_char(pointee_of(type_)):
            kind = "text"
        if kind is None:
            place = f"{argument.name}.{member}" if member else argument.name
            is_struct = not member and type_.get_canonical().kind == TypeKind.RECORD
            hint = f"; name a member: {self.name}:{place}.MEMBER" if is_struct else ""
            self.refuse(f"cannot have {place} recorded: {type_.spelling} is no number, pointer or text{hint}")
        return Beyond(argument, member, type_, kind)

    def mark(self, argument):
        name = argument.name
        if name in self.bytes:
            length = self.bytes[name]
            is_signed = number_kind(self.argument(length).type) in SIGNED
            return f"QX_IN_BYTES({name}, (size_t)({f'{length} > 0 ? {length} : 0' if is_signed else length}))"
        kind = kind_of(argument.type)
        if kind is None:
            self.refuse(f"takes {declare(argument.type, name)}, of which there is no record; mark its callers by hand")
        if kind == "text" and name in self.addresses:
            kind = "pointer"
        return f"QX_IN({kind}, {as_address(argument.type, name) if kind == 'pointer' else name})"

    def prototype(self, prefix):
        arguments = ", ".join(declare(argument.type, argument.name) for argument in self.arguments)
        return declare(self.result, f"{prefix}{self.name}({arguments or 'void'})")

    def enter(self, package):
        marks = [self.mark(argument) for argument in self.arguments]
        marks += [value.in_mark() for value in self.at_entry] + [value.out_mark() for value in self.at_exit]
        values = "".join(f",\n        {mark}" for mark in marks)
        if self.result.get_canonical().kind == TypeKind.VOID:
            return f'QX_CALL(qx_call, "{package}", "{self.name}"{values});'
        kind = kind_of(self.result)
        if kind is None:
            self.refuse(f"returns {self.result.spelling}, of which there is no record; mark its callers by hand")
        return f'QX_CALL_RETURNS(qx_call, {kind}, "{package}", "{self.name}"{values});'

    def leave(self):
        call = f"__real_{self.name}({', '.join(argument.name for argument in self.arguments)});"
        fetched = [value.fetch() for value in self.at_exit]
        if self.result.get_canonical().kind == TypeKind.VOID:
            return [call, *fetched]
        is_pointer = kind_of(self.result) == "pointer"
        told = as_address(self.result, "qx_result") if is_pointer else "qx_result"
        return [f"{declare(self.result, 'qx_result')} = {call}", *fetched, f"QX_RESULT(qx_call, {told});",
                "return qx_result;"]

    def wrapper(self, package):
        variables = [f"qx_type_{value.kind} {value.variable} = {value.nothing};" for value in self.at_exit]
        body = "".join(f"    {line}\n" for line in [*variables, self.enter(package), *self.leave()])
        return (f"{self.prototype('__real_')};\n{self.prototype('__wrap_')};\n"
                f"{self.prototype('__wrap_')} {{\n{body}}}\n")


def near(name, names):
    """What may have been meant, as the end of a sentence."""
    meant = difflib.get_close_matches(name, names, 3)
    return f"; did you mean {' or '.join(meant)}?" if meant else ""


def include(header):
    return f'#include "{header}"\n' if Path(header).is_absolute() else f"#include <{header}>\n"


def parse(headers, options):
    """What the headers hold, as the program's compiler sees them. Raises Refusal when they do not parse."""
    source = "".join(map(include, headers))
    try:
        unit = Index.create().parse("headers.c", ["-x", "c", "-std=gnu17", "-w", *options], [("headers.c", source)])
    except TranslationUnitLoadError:
        raise Refusal(f"libclang cannot read {', '.join(headers)} with the options {' '.join(options)}") from None
    errors = [each for each in unit.diagnostics if each.severity >= Diagnostic.Error]
    if errors:
        lines = "".join(f"\n  {each.location.file}:{each.location.line}: {each.spelling}" for each in errors[:5])
        raise Refusal(f"{', '.join(headers)} cannot be read with what the program includes and defines:{lines}")
    return unit


def functions_in(unit):
    """Each function's declaration, one that names its parameters where there is such."""
    found = {}
    for cursor in unit.cursor.get_children():
        if cursor.kind == CursorKind.FUNCTION_DECL:
            is_named = all(argument.spelling for argument in cursor.get_arguments())
            if is_named or cursor.spelling not in found:
                found[cursor.spelling] = cursor
    return found


def words_of(text, pattern, form):
    match = re.fullmatch(pattern, text)
    if not match:
        raise Refusal(f'"{text}" is not of the form {form}')
    return [group or "" for group in match.groups()]


def wanted(arguments, declared):
    """The functions to wrap, with what is said of their arguments. Raises Refusal that tells of all that is wrong."""
    functions, wrong = {}, []

    def attempt(action, *parameters):
        try:
            return action(*parameters)
        except Refusal as refusal:
            return wrong.append(str(refusal))

    def find(name):
        if name not in declared:
            raise Refusal(f"{', '.join(arguments.headers)} declares no function {name}{near(name, declared)}")
        functions[name] = Function(declared[name], name)
        functions[name].wrapper(arguments.package)

    def say(add, words):
        name = words[0]
        if name not in arguments.functions:
            raise Refusal(f"{name} is not among the functions that are named")
        if name in functions:
            getattr(functions[name], add)(*words[1:])

    for name in arguments.functions:
        attempt(find, name)
    value = (r"(\w+):(\w+)(?:\.(\w+))?", "FUNCTION:ARGUMENT or FUNCTION:ARGUMENT.MEMBER")
    forms = [("add_in", arguments.at_entry, value), ("add_out", arguments.at_exit, value),
             ("add_address", arguments.addresses, (r"(\w+):(\w+)", "FUNCTION:ARGUMENT")),
             ("add_bytes", arguments.bytes, (r"(\w+):(\w+):(\w+)", "FUNCTION:ARGUMENT:LENGTH"))]
    for add, texts, form in forms:
        for text in texts:
            attempt(lambda: say(add, words_of(text, *form)))
    if wrong:
        raise Refusal("\n".join(wrong))
    return functions.values()


def text_of(arguments, functions):
    head = (f"// Wrappers that record the calls of functions of {', '.join(arguments.headers)}.\n"
            "// Made by qx_trace_functions when the program was built: what is changed here gets lost.\n")
    includes = "".join(map(include, arguments.headers)) + "#include <qx/recorder_c.h>\n#include <stddef.h>\n"
    return "\n".join([head + includes, *(function.wrapper(arguments.package) for function in functions)])


def depends_of(output, unit):
    files = sorted({str(each.include) for each in unit.get_includes()})
    return f"{output}: {' '.join(file.replace(' ', chr(92) + ' ') for file in files)}\n"


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--target", required=True, help="the program, for messages")
    parser.add_argument("--package", required=True, help="what the calls' package is called")
    parser.add_argument("--headers", nargs="+", required=True)
    parser.add_argument("--functions", nargs="+", required=True)
    parser.add_argument("--in", nargs="*", default=[], dest="at_entry")
    parser.add_argument("--out", nargs="*", default=[], dest="at_exit")
    parser.add_argument("--address", nargs="*", default=[], dest="addresses")
    parser.add_argument("--bytes", nargs="*", default=[])
    parser.add_argument("--options", help="a file with options of the compiler, one a line")
    parser.add_argument("--output", required=True)
    parser.add_argument("--depfile")
    return parser.parse_args()


def main():
    arguments = read_arguments()
    lines = Path(arguments.options).read_text().splitlines() if arguments.options else []
    # What is for another language only leaves an empty place in lists of directories and definitions.
    options = [line for line in lines if line not in ("", "-I", "-D")]
    try:
        unit = parse(arguments.headers, options)
        text = text_of(arguments, wanted(arguments, functions_in(unit)))
    except Refusal as refusal:
        sys.exit("\n".join(f"qx_trace_functions({arguments.target}): {line}" for line in str(refusal).split("\n")))
    Path(arguments.output).write_text(text)
    if arguments.depfile:
        Path(arguments.depfile).write_text(depends_of(arguments.output, unit))


if __name__ == "__main__":
    main()
