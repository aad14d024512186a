// A client in the language standard of the headers, catching what the shared object throws by the type that they
// declare. Ends with 0 when all of it arrives.
#include <IQxLogTracker.h>

#include <cstdio>

template <typename Operation>
static bool Throws(IQxData::_PERR_TYPE expected, const char* what, Operation operation) {
    int got = -1;
    try {
        operation();
    } catch (IQxData::_PERR_TYPE error) {
        got = error;
    } catch (...) {
        got = -2;
    }
    if (got != expected) std::fprintf(stderr, "%s: %d instead of %d\n", what, got, expected);
    return got == expected;
}

int main() {
    static_assert(IQxData::PERR_INVALID_TAG == 0 && IQxData::PERR_INVALID_SIZE == 1, "fixed values");
    static_assert(IQxData::PERR_CALL_NOT_FOUND == 2 && IQxData::PERR_THREAD_NOT_FOUND == 3, "fixed values");
    const std::shared_ptr<IQxData> store = IQxLogTracker::Instance(Silent)->Get();
    IQxData::HSCall call;
    IQxData::_HSCallLocation location;
    location.callerName.assign(65 << 20, 'x');
    const bool calls = Throws(IQxData::PERR_CALL_NOT_FOUND, "GetCall", [&] { store->GetCall(1, call); });
    const bool threads = Throws(IQxData::PERR_THREAD_NOT_FOUND, "GetThread", [&] { store->GetThread(1); });
    const bool sizes =
        Throws(IQxData::PERR_INVALID_SIZE, "AppendCallLocation", [&] { store->AppendCallLocation(location); });
    return calls && threads && sizes ? 0 : 1;
}
