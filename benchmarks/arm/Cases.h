// SPDX-License-Identifier: Apache-2.0
//
// The measured cases, one function for each family.

#ifndef ZELCOMMON_BENCHMARKS_ARM_CASES_H
#define ZELCOMMON_BENCHMARKS_ARM_CASES_H

namespace counts {

void errors();
void tracing();
void textBuilding();
void textConversion();
void textComparison();
void textSearch();
void textComposition();
void uuids();
void streams();
void threads();

} // namespace counts

#endif // ZELCOMMON_BENCHMARKS_ARM_CASES_H
