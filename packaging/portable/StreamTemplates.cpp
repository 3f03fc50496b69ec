// The C++ library brings its streams compiled, but not for link-time optimisation. Here the optimiser sees what counts:
// the writer of documents hands over each single byte through these.
#include <ios>
#include <ostream>
#include <streambuf>

template std::ostream::sentry::sentry(std::ostream& stream);
template std::ostream& std::ostream::write(const char* text, std::streamsize size);
template std::streamsize std::streambuf::xsputn(const char* text, std::streamsize size);
