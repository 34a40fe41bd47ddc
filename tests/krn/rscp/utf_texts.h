// Texts of characters of every length, whole and damaged: the members convert them as the oracle does, in every room.
#pragma once

namespace quorvanti::utf_test {

// Random texts in which ASCII, two, three and four bytes follow one another, in every room from none to more than
// needed.
void compareMixedTexts();

// Each kind of character at every place of a text, before and behind other ones.
void compareEveryPlace();

// Mixed texts of which one byte or unit is something else, with and without substitution.
void compareDamagedTexts();

}  // namespace quorvanti::utf_test
