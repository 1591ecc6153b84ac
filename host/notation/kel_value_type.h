#pragma once

// The kinds of values in KEL; the codes are fixed.
enum TavKelValueType {
  TavKelString = 1,
  TavKelInteger = 2,  // signed, 32 bits
  TavKelReal = 3,     // IEEE 754 double
  TavKelWord = 4,
  TavKelBody = 5,
  TavKelList = 7,
  TavKelRecord = 8,
};
