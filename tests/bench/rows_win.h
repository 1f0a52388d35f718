#pragma once

/// The rows of the table that need Windows (or Wine). Each function measures one and prints
/// it; the work and its baseline take turns.
namespace bench {

void measureStart();            ///< start to exit of --detect
void measureFullRun();          ///< a whole finished run, waits taken out
void measurePlaying();          ///< processor time and wake-ups while the game runs
void measureSubmission();       ///< from the game's end to the submission's first byte
void measureMemory();           ///< the most memory of a whole run
void measureUnchangedPackage(); ///< a mod package of 10,000 files that is all there
void measureQueue();            ///< 500 queued results
void measureCheck();            ///< start of the companion until its window is there

}  // namespace bench
