# What Doxygen reads in place of a header. A header opens with plain comments: they describe the file.
1s|.*|/// @file|
2,/^$/s|^//|///|
# Doxygen knows a guard that comes first.
/^#include .* which includes this header where it needs it$/d
# What a call returns, raises or requires, and each row of a table of errors, begins a line of its own.
$!N
s,\(/// [^\n]*[^ \n]\)\(\n */// \(Returns\|Raises\|Asserts\|Requires\|Ends the process\|Return \|[0-9][0-9, ]*: \)\),\1  \2,
P
D
