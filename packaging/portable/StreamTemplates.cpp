// The C++ library has its streams in compiled form, which link-time optimisation cannot inline. These instantiations
// make it inline the functions that the document writer calls for every byte.
#include <ios>
#include <ostream>
#include <streambuf>

template std::ostream::sentry::sentry(std::ostream& stream);
template std::ostream& std::ostream::write(const char* text, std::streamsize size);
template std::streamsize std::streambuf::xsputn(const char* text, std::streamsize size);
