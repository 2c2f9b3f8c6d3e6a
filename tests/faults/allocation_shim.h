// The allocator of a process under test: preloaded, it counts the allocations that are made while
// it is armed and fails the n-th one, once or from then on. The count is the same in every run of
// the same work. Blocks that are live are counted at all times.
//
// A program that is to steer it finds these functions with dlsym; without the preloaded library
// they are not there. One thread arms and disarms it.
#ifndef ZEVKA_TESTS_FAULTS_ALLOCATION_SHIM_H
#define ZEVKA_TESTS_FAULTS_ALLOCATION_SHIM_H

extern "C" {

// Starts counting anew, disarmed; the n-th allocation is to fail, 0 for none.
void AllocationShimPlan(long n, int fromThenOn);
void AllocationShimArm();
void AllocationShimDisarm();
// Since the plan: allocations while armed, and those that were failed.
long AllocationShimCalls();
long AllocationShimFaults();
// Blocks that were allocated and not freed, by anybody.
long AllocationShimLive();
}

#endif  // ZEVKA_TESTS_FAULTS_ALLOCATION_SHIM_H
