#pragma once

class CLimiter;

// Drives the limiter setting of a parameter from its normalised value. A
// value outside 0..1 drives it as the nearest end of the range (beyond it a
// gain overflows and a step count leaves the integer range); an index outside
// the table, and the meter scale, which only the editor reads, change nothing.
void applyParameter(CLimiter& limiter, int index, float normalised);

// All the settings of a factory program, as selecting it in the plug-in does.
void applyFactoryProgram(CLimiter& limiter, int program);
