# The commands of ./dev that make the pages; sourced by it.

# The site: doxygen ends with an error at its first warning.
run_docs() {
  need doxygen
  heading "Doxygen"
  rm -rf build/docs/html  # a page that is gone is gone
  mkdir -p build/docs
  doxygen docs/Doxyfile
  printf 'A page for a browser: %s\n' "$PWD/build/docs/html/index.html"
}
