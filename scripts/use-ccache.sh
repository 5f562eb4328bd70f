# Sourced. Where ccache is installed, compilations are shared between build folders and between clones. It compares
# preprocessed text: looking at the names of included files alone has given objects of an older header.
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_NODIRECT=1
fi
