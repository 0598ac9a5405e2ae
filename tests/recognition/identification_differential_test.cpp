// The library's one-to-many search against a plain transcription of it, on
// random partitions of 1 to 3,000 users: every list, chosen cell, candidate
// and name must be the same, on the calling thread and on workers alike.
#include <gtest/gtest.h>

#include "recognition/identification_transcription.h"
#include "support/emulation.h"

TEST(IdentificationDifferential, SearchEqualsItsTranscriptionOnRandomPartitions) {
    palm_test::differential_coverage coverage;
    // Under emulation a third of the cases, and of what they must meet.
    int const cases = palm_test::rounds(30, 10);
    int const per30 = 30 / cases;
    palm_test::run_differential_cases(1000, cases, 3000, coverage);
    // The cases must have met what they are meant to test.
    EXPECT_GT(coverage.searches, 400 / per30);
    EXPECT_GT(coverage.tied_slots, 1000 / per30);
    EXPECT_GT(coverage.templateless_slots, 50 / per30);
    EXPECT_GT(coverage.fine_improved, 50 / per30);
    EXPECT_GT(coverage.candidates, 50 / per30);
    EXPECT_GT(coverage.identified, 20 / per30);
}
