// The C++ library brings its streams compiled, but not for link-time optimisation. Here the optimiser sees them: the
// writer of documents hands over each single byte through them.
#include <ostream>
#include <streambuf>

template class std::basic_ostream<char>;
template class std::basic_streambuf<char>;
