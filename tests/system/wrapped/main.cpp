// A program in C++ whose calls of a library in C are recorded by wrappers: it calls each function, with null pointers
// as well, and says which of them did not do what they do without wrappers.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "figures.h"
#include "part.h"

namespace {

int g_failed = 0;

void Expect(bool isTrue, const char* what) {
    if (isTrue) return;
    std::fprintf(stderr, "not so: %s\n", what);
    ++g_failed;
}

bool Count(int number, void* context) {
    *static_cast<int*>(context) += number;
    return true;
}

bool Throw(int, void*) {
    throw std::runtime_error("by a visit");
}

void CallWithNumbers() {
    Expect(figure_area(FIGURE_CIRCLE, 0.5) == 0.75, "a circle's area");
    Expect(part_area() == 9, "an area of a part");
    const std::unique_ptr<unsigned char[]> bytes(new unsigned char[2]{'h', 'i'});
    Expect(figure_sum(bytes.get(), 2) == 209, "a sum");
    Expect(figure_sum(nullptr, -1) == 0, "a sum of nothing");
    const std::unique_ptr<char[]> letters(new char[2]{'a', 'b'});
    Expect(figure_first(letters.get()) == 'a', "a first character");
    Expect(figure_unnamed(1) == 2, "a function that is not recorded");
}

void CallWithPointers() {
    box box{nullptr, 0, 5};
    char label[4] = "";
    Expect(figure_measure(&box, label) == 5 && box.area == 25 && std::strcmp(label, "box") == 0, "a measure");
    Expect(figure_measure(nullptr, nullptr) == -1, "a measure of nothing");
    int place = 0;
    const char* end = nullptr;
    Expect(figure_find("box", &place, &end) && place == 3 && std::strcmp(end, "x") == 0, "what is found");
    Expect(!figure_find(nullptr, nullptr, nullptr), "what is not found");
}

void CallThatCallsBack() {
    int sum = 0;
    figure_each(Count, &sum);
    Expect(sum == 3, "visits");
    try {
        figure_each(Throw, nullptr);
        Expect(false, "an exception");
    } catch (const std::runtime_error&) {
    }
}

void CallThatFails() {
    errno = 0;
    Expect(figure_fail() == nullptr && errno == ERANGE, "an error's number");
}

}  // namespace

int main() {
    // The first call of a process makes its recording, and must not be seen to.
    CallThatFails();
    CallWithNumbers();
    CallWithPointers();
    CallThatCallsBack();
    return g_failed == 0 ? 0 : 1;
}
