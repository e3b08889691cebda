#!/usr/bin/env bash
# Takes the ```cpp blocks out of Markdown files, one source file each, and a list of tests that run them.
#   extract_blocks.sh ROOT OUT_DIRECTORY FILE.md...   (paths relative to ROOT)
#
# A block with a main() stands as it is. Any other is the inside of a function, its #include lines before
# it; a comment "<!-- given: NAMES -->" on the line before the block names what is there already, from
# tests/docs/given.h. A block of another language (```sh, ```cmake, none) isn't touched.
set -euo pipefail
root=$1 out=$2
shift 2
rm -rf "$out"
mkdir -p "$out"
{
  printf '// Generated from the documentation.\n#include "tests/docs/block_runner.h"\n\n'
} >"$out/blocks_test.cpp"
for file in "$@"; do
  name=$(tr -c 'A-Za-z0-9\n' _ <<<"${file%.md}")
  awk -v out="$out" -v name="$name" -v file="$file" '
    function flush_block(  path, i, n, has_main, given, k, last) {
      path = out "/" name "_" start ".cpp"
      print "// " file ", line " start > path
      print "#include \"tests/docs/given.h\"" >> path
      has_main = 0
      for (i = 1; i <= count; ++i) if (line[i] ~ /int main\(/) has_main = 1
      for (i = 1; i <= count; ++i) if (line[i] ~ /^#include/) print line[i] >> path
      if (has_main) print "#define main " name "_" start >> path
      else {
        print "int " name "_" start "();" >> path
        print "int " name "_" start "() {" >> path
        n = split(names, given, /[ ,]+/)
        for (k = 1; k <= n; ++k) if (given[k] != "") print "GIVEN_" given[k] >> path
        print "{" >> path
      }
      print "#line " (start + 1) " \"" file "\"" >> path
      # A main that runs off its end gives 0; under another name it has to say so.
      last = count
      while (last > 0 && line[last] != "}") --last
      for (i = 1; i <= count; ++i) {
        if (has_main && i == last) print "return 0;" >> path
        print (line[i] ~ /^#include/ ? "" : line[i]) >> path
      }
      if (!has_main) print "}\nreturn 0;\n}" >> path
      close(path)
      print "int " name "_" start "();" >> (out "/blocks_test.cpp")
      print "TEST(Documentation, " name "_line_" start "_runs) {" >> (out "/blocks_test.cpp")
      print "  EXPECT_EQ(test_support::run_block(" name "_" start "), 0);\n}" >> (out "/blocks_test.cpp")
    }
    /^<!-- given: .* -->$/ { pending = $0; sub(/^<!-- given: /, "", pending); sub(/ -->$/, "", pending); next }
    !inside && /^```cpp$/ { inside = 1; start = NR; count = 0; names = pending; pending = ""; next }
    inside && /^```$/ { inside = 0; flush_block(); next }
    inside { line[++count] = $0; next }
    { pending = "" }
  ' "$root/$file"
done
