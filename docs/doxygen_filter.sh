#!/bin/sh
# Comments of the house as Doxygen takes them: behind a field, and before a record.
exec sed -E 's,([;{]) +// ,\1 ///< ,; s,^( *)// ([^-]),\1/// \2,' "$1"
