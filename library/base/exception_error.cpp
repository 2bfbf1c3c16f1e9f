#include "library/base/exception_error.h"

#include <exception>
#include <new>
#include <system_error>

#include <opencv2/core.hpp>

namespace korv {

Error errorInFlight(int otherwise) noexcept
{
    try {
        throw;
    } catch (const std::bad_alloc &) {
        return {-ENOMEM, "out of memory"};
    } catch (const cv::Exception &failure) {
        return {failure.code == cv::Error::StsNoMem ? -ENOMEM : otherwise, failure.what()};
    } catch (const std::system_error &failure) {
        // of a thread or a mutex; a code of zero would read as success
        const int code = failure.code().value();
        return {code > 0 ? -code : otherwise, failure.what()};
    } catch (const std::exception &failure) {
        return {otherwise, failure.what()};
    } catch (...) {
        return {otherwise, "unexpected failure"};
    }
}

} // namespace korv
