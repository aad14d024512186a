"""What qx_trace_functions makes of headers, and says to who asks for what cannot be had:
trace_functions_test.py MODULE_FOLDER INCLUDES CMAKE COMPILER..."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

MODULES, INCLUDES, CMAKE = Path(sys.argv.pop(1)).resolve(), sys.argv.pop(1), sys.argv.pop(1)
COMPILERS = [sys.argv.pop(1) for _ in sys.argv[1:]]

HEADER = """
#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
typedef struct box { int width; unsigned flag : 1; struct { int x; } inner; const char* label; char name[4]; } box;
typedef box* box_pointer;
typedef enum { SMALL, LARGE = 1000 } size_class;
typedef void (*visitor)(int);
typedef int callback(int);
typedef uint64_t key_type;
"""
STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wsign-conversion", "-Wshadow", "-Wcast-qual",
          "-Wmissing-prototypes", "-Wstrict-prototypes", "-Werror"]


class TraceFunctionsTest(unittest.TestCase):
    def setUp(self):
        self.place = tempfile.TemporaryDirectory()
        self.addCleanup(self.place.cleanup)
        self.root = Path(self.place.name).resolve()
        self.output = self.root / "traced.c"

    def generate(self, prototypes, functions, *more, options=(), headers=("own.h",)):
        (self.root / "own.h").write_text(HEADER + prototypes + "\n")
        (self.root / "options").write_text("\n".join([f"-I{self.root}", *options]))
        return subprocess.run(
            [sys.executable, MODULES / "qx_trace_functions.py", "--target", "program", "--package", "own", "--headers",
             *headers, "--functions", *functions, "--options", self.root / "options", "--output", self.output, *more],
            capture_output=True, text=True)

    def made(self, *arguments, **options):
        """The wrappers that are made; the compilers have nothing to say about them."""
        answer = self.generate(*arguments, **options)
        self.assertEqual(answer.returncode, 0, answer.stderr)
        for compiler in COMPILERS:
            for option in ("-std=c99", "-std=gnu17", "-O2", "-DQX_RECORDER_DISABLED"):
                command = [compiler, option, *STRICT, f"-I{self.root}", f"-I{INCLUDES}", "-c", self.output, "-o",
                           "/dev/null"]
                answer = subprocess.run(command, capture_output=True, text=True)
                self.assertEqual(answer.returncode, 0, answer.stderr)
        return self.output.read_text()

    def refused(self, *arguments, **options):
        """What is said of functions that cannot be wrapped. Nothing is written."""
        answer = self.generate(*arguments, **options)
        self.assertEqual(answer.returncode, 1, answer.stderr)
        self.assertFalse(self.output.exists())
        lines = answer.stderr.splitlines()
        for line in lines:
            self.assertTrue(line.startswith(("qx_trace_functions(program): ", "  ")), line)
        return [line.replace("qx_trace_functions(program): ", "") for line in lines]

    def test_a_wrapper_hands_on_what_it_records(self):
        text = self.made("int send(const char* text, int count);", ["send"])
        self.assertIn("""
int __wrap_send(const char *text, int count) {
    QX_CALL_RETURNS(qx_call, int, "own", "send",
        QX_IN(text, text),
        QX_IN(int, count));
    int qx_result = __real_send(text, count);
    QX_RESULT(qx_call, qx_result);
    return qx_result;
}
""", text)
        self.assertIn("#include <own.h>\n", text)

    def test_a_function_without_arguments_and_result(self):
        text = self.made("void stop(void);", ["stop"])
        self.assertIn('void __wrap_stop(void) {\n    QX_CALL(qx_call, "own", "stop");\n    __real_stop();\n}\n', text)

    def test_each_type_has_its_kind(self):
        kinds = (("bool", "bool"), ("char", "char"), ("signed char", "schar"), ("unsigned char", "uchar"),
                 ("short", "short"), ("unsigned short", "ushort"), ("int", "int"),
                 ("unsigned", "uint"), ("long", "long"), ("unsigned long", "ulong"), ("long long", "llong"),
                 ("unsigned long long", "ullong"), ("float", "float"), ("double", "double"), ("long double", "ldouble"),
                 ("int8_t", "int8"), ("uint16_t", "uint16"), ("int64_t", "int64"), ("size_t", "size"),
                 ("key_type", "uint64"), ("size_class", "uint"), ("const char*", "text"),
                 ("char*", "pointer"), ("const unsigned char*", "pointer"), ("const void*", "pointer"),
                 ("box*", "pointer"), ("box_pointer", "pointer"), ("const char**", "pointer"))
        prototypes = "".join(f"{type_} pass{n}({type_} value{n});\n" for n, (type_, _) in enumerate(kinds))
        text = self.made(prototypes, [f"pass{n}" for n in range(len(kinds))])
        for n, (type_, kind) in enumerate(kinds):
            with self.subTest(type_):
                self.assertIn(f'QX_CALL_RETURNS(qx_call, {kind}, "own", "pass{n}",\n'
                              f"        QX_IN({kind}, value{n}));", text)

    def test_widths_are_those_of_the_machine_that_is_built_for(self):
        text = self.made("void pass(int64_t key, size_t size, long number);", ["pass"],
                         options=("--target=arm-linux-gnueabihf", "-ffreestanding"))
        for mark in ("QX_IN(int64, key)", "QX_IN(size, size)", "QX_IN(long, number)"):
            self.assertIn(mark, text)

    def test_pointers_of_any_kind_are_addresses(self):
        text = self.made("visitor pass(void (*visit)(int), visitor known, int (*(*make)(int))(char), volatile int* a, "
                         "const int list[4], char (*rows)[8], const char* const* texts, callback* direct, "
                         "callback plain, int (*table[2])(int), visitor (*last)[3]);", ["pass"])
        self.assertEqual(text.count("QX_IN(pointer, "), 11)

    def test_functions_that_return_pointers_to_functions(self):
        text = self.made("visitor pass(int n); void (*set(int n, void (*visit)(int)))(int);", ["pass", "set"])
        self.assertEqual(text.count("QX_RESULT(qx_call, (const void*)(uintptr_t)(qx_result));"), 2)

    def test_arrays_of_constant_characters_are_texts(self):
        self.assertIn("QX_IN(text, name)", self.made("void pass(const char name[], char buffer[4]);", ["pass"]))

    def test_arguments_without_a_name_get_one(self):
        self.assertIn("QX_IN(text, argument2)", self.made("void pass(int, const char*);", ["pass"]))

    def test_a_declaration_that_names_its_arguments_is_preferred(self):
        text = self.made("void pass(const int count); void pass(int);", ["pass"])
        self.assertIn("QX_IN(int, count)", text)

    def test_what_pointers_lead_to_is_recorded_where_it_is_asked_for(self):
        text = self.made("int pass(const int* level, box* in, char* label, void** handle, const char** end);", ["pass"],
                         "--in", "pass:level", "pass:in.width", "pass:in.label", "--out", "pass:label", "pass:handle",
                         "pass:end", "pass:in.width")
        self.assertIn("QX_IN(pointer, level)", text)
        self.assertIn("QX_IN(int, level != NULL ? *level : 0),\n        QX_IN(int, in != NULL ? in->width : 0),\n"
                      "        QX_IN(text, in != NULL ? in->label : NULL),\n        QX_OUT(text, qx_out_label)", text)
        self.assertIn("if (handle != NULL) qx_out_handle = *handle;", text)
        self.assertIn("qx_type_text qx_out_end = NULL;", text)
        self.assertLess(text.index("= __real_pass("), text.index("if (in != NULL) qx_out_in_width = in->width;"))

    def test_a_text_that_does_not_end_goes_by_its_address_or_its_length(self):
        text = self.made("void pass(const char* a, const char* b, int n); void put(const void* data, size_t size);",
                         ["pass", "put"], "--address", "pass:a", "--bytes", "pass:b:n", "put:data:size")
        for mark in ("QX_IN(pointer, a)", "QX_IN_BYTES(b, (size_t)(n > 0 ? n : 0))",
                     "QX_IN_BYTES(data, (size_t)(size))"):
            self.assertIn(mark, text)

    def test_functions_that_no_wrapper_can_stand_for_are_refused(self):
        for prototype, reason in (
                ("void f(const char* form, ...);", "takes a variable number of arguments"),
                ("void f(va_list list);", "takes va_list list, of which there is no record"),
                ("void f(box where);", "takes box where, of which there is no record"),
                ("box f(void);", "returns box, of which there is no record"),
                ("void f(_Complex double c);", "takes _Complex double c, of which there is no record"),
                ("static inline void f(void) {}", "is defined in the header"),
                ("static void f(void);", "is defined in the header"),
                ("void f();", "is declared without its parameters"),
                ('void f(void) __asm__("f64");', "is linked under another name, f64")):
            with self.subTest(prototype):
                self.assertIn(f"f {reason}", self.refused(prototype, ["f"])[0])

    def test_a_function_that_is_not_there_is_told_with_its_header_and_its_likes(self):
        self.assertEqual(self.refused("int deflate(void); int deflate_(void);", ["deflte"]),
                         ["own.h declares no function deflte; did you mean deflate or deflate_?"])

    def test_what_is_wrong_with_several_is_told_at_once(self):
        told = self.refused("void f(int count);", ["other", "f"], "--in", "f:count", "f:size", "h:x", "f", "--bytes",
                            "f:count:n")
        self.assertEqual(told, ["own.h declares no function other",
                                "f has int count, which points to nothing that could be recorded",
                                'f has no argument "size"; there are: count',
                                "h is not among the functions that are named",
                                '"f" is not of the form FUNCTION:ARGUMENT or FUNCTION:ARGUMENT.MEMBER',
                                'f has no argument "n"; there are: count'])

    def test_what_no_value_can_be_made_of_is_refused(self):
        for value, reason in (("f:b", "box is no number, pointer or text; name a member: f:b.MEMBER"),
                              ("f:b.inner", "is no number, pointer or text"),
                              ("f:b.name", "char[4] is no number, pointer or text"),
                              ("f:b.flag", "there is no member flag"), ("f:b.widht", "did you mean width?"),
                              ("f:v", "void is no number, pointer or text"), ("f:v.x", "there is no member x")):
            with self.subTest(value):
                self.assertIn(reason, self.refused("void f(box* b, void* v);", ["f"], "--out", value)[0])
        self.assertIn("which is no length of v",
                      self.refused("void f(void* v, double n);", ["f"], "--bytes", "f:v:n")[0])

    def test_a_header_that_cannot_be_read_is_told_with_the_place(self):
        told = self.refused("void f(unknown value);", ["f"])
        self.assertEqual(told[0], "own.h cannot be read with what the program includes and defines:")
        self.assertRegex(told[1], "own.h:12: unknown type name 'unknown'")
        told = self.refused("void f(void);", ["f"], headers=["missing.h"])
        self.assertRegex(told[1], "'missing.h' file not found")

    def test_what_the_program_defines_counts(self):
        guarded = "#ifdef WITH_F\nvoid f(void);\n#endif"
        self.assertEqual(self.refused(guarded, ["f"])[0].split(";")[0], "own.h declares no function f")
        self.assertEqual(self.generate(guarded, ["f"], options=("-D", "-DWITH_F", "")).returncode, 0)

    def test_several_headers_and_functions_of_headers_that_they_include(self):
        (self.root / "inner.h").write_text("void inner(void);\n")
        (self.root / "second.h").write_text("void second(void);\n")
        text = self.made('#include "inner.h"\n', ["inner", "second"], headers=["own.h", str(self.root / "second.h")])
        self.assertIn(f'#include <own.h>\n#include "{self.root}/second.h"\n', text)

    def test_who_builds_again_is_told_of_all_headers(self):
        self.made("void f(void);", ["f"], "--depfile", str(self.root / "traced.d"))
        told = (self.root / "traced.d").read_text()
        self.assertTrue(told.startswith(f"{self.output}: "))
        self.assertIn(f"{self.root}/own.h", told)
        self.assertIn("stdint.h", told)


class AskedForTest(unittest.TestCase):
    """Without languages, which would take time to look at, CMake goes as far as these mistakes let it."""

    def told(self, *lines):
        with tempfile.TemporaryDirectory() as place:
            (Path(place) / "CMakeLists.txt").write_text("\n".join([
                "cmake_minimum_required(VERSION 3.20)", "project(Own LANGUAGES NONE)", "set(CMAKE_C_COMPILER_LOADED 1)",
                "add_library(QxLogTracker::recorder INTERFACE IMPORTED)", f"include({MODULES}/QxTraceFunctions.cmake)",
                "add_executable(program IMPORTED)", "add_library(part STATIC IMPORTED)", *lines]))
            answer = subprocess.run([CMAKE, "-S", place, "-B", f"{place}/build",
                                     f"-DQX_TRACE_FUNCTIONS_PYTHON={sys.executable}"], capture_output=True, text=True)
        self.assertNotEqual(answer.returncode, 0)
        return " ".join(answer.stderr.split())

    def test_what_is_missing_is_told(self):
        for lines, reason in (
                (["qx_trace_functions(other own.h FUNCTIONS f)"], "there is no such target"),
                (["qx_trace_functions(part own.h FUNCTIONS f)"], "nothing is linked for a target of type STATIC"),
                (["qx_trace_functions(program FUNCTIONS f)"], "name headers, and functions"),
                (["qx_trace_functions(program own.h)"], "name headers, and functions"),
                (["set(CMAKE_C_COMPILER_LOADED 0)", "qx_trace_functions(program own.h FUNCTIONS f)"],
                 "say so with project(... LANGUAGES C CXX)"),
                (["set(QX_TRACE_FUNCTIONS_PYTHON /bin/false)", "qx_trace_functions(program own.h FUNCTIONS f)"],
                 "apt-get install python3-clang"),
                (["add_library(program-traced-own INTERFACE)", "qx_trace_functions(program own.h FUNCTIONS f)"],
                 "functions of the package own are traced already")):
            with self.subTest(lines):
                self.assertIn(reason, self.told(*lines))


unittest.main()
