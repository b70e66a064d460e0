#ifndef KA_BENCH_WORLDS_H
#define KA_BENCH_WORLDS_H

#include <cstddef>
#include <string>

/// \file
/// Made-up stations of any size. The same numbers give the same texts on every machine.

namespace bench {

/// A made-up station name of 8 to 25 letters; different for each index below 2^20.
std::string StationName(std::size_t index);

/// `count` rows name="value". \sa ProfileKey
std::string ProfileText(std::size_t count);
/// The name in row `index` of ProfileText.
std::string ProfileKey(std::size_t index);

/// A message catalogue of `rows` rows, ten of each class.
std::string CatalogueText(std::size_t rows);
/// The class id of a row of CatalogueText.
unsigned CatalogueClass(std::size_t row);

/// A lexicon that replaces the first `count` station names.
std::string LexiconText(std::size_t count);
/// A value of exactly `bytes` bytes: station names, of which those that any lexicon of ten entries
/// or more replaces are as many for every lexicon. Throws if a lexicon of `largest` entries
/// replaces others, too.
std::string LexiconValue(std::size_t bytes, std::size_t largest);

/// What an announcement document holds.
struct DocumentShape {
  std::size_t Cases = 10;  ///< half test a part of a value, a third a length, the others combine
  std::size_t Announcements = 2;  ///< per language, of which there are two
  std::string Lexicon = {};       ///< for the destination; "" for none
};

/// An announcement document for the blocks of BlockText.
std::string DocumentText(const DocumentShape& shape);

/// A data block of departures, for the demo station and the documents of DocumentText. Blocks of
/// different variants (0 to 9) have equal lengths and differ in the text of every row.
std::string BlockText(std::size_t rows, int variant = 0);

}  // namespace bench

#endif
