#!/bin/sh
# Comments of the house as Doxygen takes them: behind a field, before a record, and one for several
# operations that stand below it without a blank line.
sed -E 's,([;{]) +// ,\1 ///< ,; s,^( *)// ([^-]),\1/// \2,' "$1" | awk '
  function ends_member(line) { return line ~ /[;}]( *\/\/.*)?$/ }
  /^ *$/ { count = 0; ended = 0; print; next }
  /^ *\/\/\/[^<]/ || /^ *\/\/\/$/ { if (!in_doc) count = 0; in_doc = 1; doc[++count] = $0; ended = 0; print; next }
  {
    in_doc = 0
    if (ended && count > 0 && $0 ~ /^  [A-Za-z_~].*\(/) for (i = 1; i <= count; ++i) print doc[i]
    print
    ended = ends_member($0)
  }'
