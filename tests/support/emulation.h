// Rounds of the heaviest random cases. The cross build's tests run under
// user-mode emulation, some 10 to 50 times slower than natively; there these
// cases run fewer rounds, still with every kind of input they are meant to
// meet. Native builds always run the full number.
#ifndef PALM_TEST_SUPPORT_EMULATION_H_
#define PALM_TEST_SUPPORT_EMULATION_H_

namespace palm_test {

constexpr bool under_emulation() {
#ifdef PALM_TEST_EMULATED
    return true;
#else
    return false;
#endif
}

// `native` rounds natively, `emulated` under emulation.
constexpr int rounds(int native, int emulated) {
    return under_emulation() ? emulated : native;
}

}  // namespace palm_test

#endif  // PALM_TEST_SUPPORT_EMULATION_H_
