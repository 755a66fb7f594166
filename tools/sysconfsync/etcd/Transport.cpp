// SPDX-License-Identifier: Apache-2.0
#include "etcd/Transport.h"

#include "etcd/EtcdError.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <utility>

namespace sysconfsync {
namespace {

/// For libcurl's functions that fail only for lack of memory or for options it does not know.
template <typename Code>
void require(Code code) {
    if (code != Code{}) {
        throw std::runtime_error("libcurl cannot prepare a request");
    }
}

std::size_t appendData(const char* data, std::size_t /*one*/, std::size_t size, void* target) {
    static_cast<std::string*>(target)->append(data, size);
    return size;
}

} // namespace

struct Transport::Transfer {
    Transfer(CURLM* usedMulti, const Connection& connection, const Post& post)
        : multi(usedMulti), easy(curl_easy_init()) {
        if (easy == nullptr) {
            throw std::bad_alloc();
        }
        addHeader("Content-Type: application/json");
        // A member without a leader ends a watch instead of keeping it silent.
        addHeader("Grpc-Metadata-hasleader: true");
        if (!post.token.empty()) {
            addHeader("Authorization: " + post.token);
        }
        set(CURLOPT_URL, post.url.c_str());
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(post.body.size()));
        set(CURLOPT_POSTFIELDS, post.body.c_str());
        set(CURLOPT_HTTPHEADER, headers);
        set(CURLOPT_WRITEFUNCTION, &appendData);
        set(CURLOPT_WRITEDATA, &data);
        set(CURLOPT_ERRORBUFFER, trouble.data());
        set(CURLOPT_NOSIGNAL, 1L);
        // Do not wait for the thread that resolves a name. It frees its memory when it ends.
        set(CURLOPT_QUICK_EXIT, 1L);
        set(CURLOPT_PROXY, ""); // the variables of the environment are for the web
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
        if (!connection.caCertificate.empty()) {
            set(CURLOPT_CAINFO, connection.caCertificate.c_str());
            // libcurl also trusts the system's folder of certificates, unless it is unset.
            set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
            set(CURLOPT_CA_CACHE_TIMEOUT, 0L); // the file may be replaced
        }
        setPath(CURLOPT_SSLCERT, connection.certificate);
        setPath(CURLOPT_SSLKEY, connection.key);
        require(curl_multi_add_handle(multi, easy));
    }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
    ~Transfer() {
        curl_multi_remove_handle(multi, easy);
        curl_easy_cleanup(easy);
        curl_slist_free_all(headers);
    }

    void addHeader(const std::string& header) {
        curl_slist* const longer = curl_slist_append(headers, header.c_str());
        if (longer == nullptr) {
            throw std::bad_alloc();
        }
        headers = longer;
    }
    template <typename Value>
    void set(CURLoption option, Value value) {
        require(curl_easy_setopt(easy, option, value));
    }
    void setPath(CURLoption option, const std::string& path) {
        if (!path.empty()) {
            set(option, path.c_str());
        }
    }

    PostResult result(PostEnd end) const {
        PostResult result;
        result.end = end;
        long bytes = 0;
        curl_easy_getinfo(easy, CURLINFO_REQUEST_SIZE, &bytes);
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &result.status);
        result.sent = bytes != 0;
        return result;
    }
    /// After the end of the transfer.
    PostResult finished() const {
        int left = 0;
        const CURLMsg* const message = curl_multi_info_read(multi, &left);
        const CURLcode code = message != nullptr ? message->data.result : CURLE_OK;
        PostResult done = result(code == CURLE_OK ? PostEnd::Answered : PostEnd::Failed);
        done.trouble = trouble.front() != '\0' ? trouble.data() : curl_easy_strerror(code);
        return done;
    }

    CURLM* multi;
    CURL* easy;
    curl_slist* headers = nullptr;
    std::string data;
    std::array<char, CURL_ERROR_SIZE> trouble{};
};

Transport::Transport(const Connection& connection) : m_connection(connection) {
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    require(initialised);
    m_multi = curl_multi_init();
    if (m_multi == nullptr) {
        throw std::bad_alloc();
    }
}

Transport::~Transport() {
    curl_multi_cleanup(m_multi);
}

PostResult Transport::post(const Post& post) {
    Transfer transfer(m_multi, m_connection, post);
    for (;;) {
        int running = 0;
        require(curl_multi_perform(m_multi, &running));
        if (!transfer.data.empty()) {
            post.onData(std::exchange(transfer.data, {}));
        }
        if (running == 0) {
            return transfer.finished();
        }
        const Clock::duration left = post.remaining();
        if (left <= Clock::duration::zero()) {
            return transfer.result(PostEnd::TimedOut);
        }
        if (wait(left, post.wakeDescriptor)) {
            return transfer.result(PostEnd::Woken);
        }
    }
}

bool Transport::wait(Clock::duration time, int wakeDescriptor) {
    std::array<curl_waitfd, 2> descriptors{};
    unsigned int used = 0;
    for (const int descriptor : {m_connection.stopDescriptor, wakeDescriptor}) {
        if (descriptor >= 0) {
            descriptors.at(used++) = {descriptor, CURL_WAIT_POLLIN, 0};
        }
    }
    const auto limit = std::chrono::ceil<std::chrono::milliseconds>(
        std::min<Clock::duration>(time, m_connection.longestWait));
    require(curl_multi_poll(m_multi, descriptors.data(), used, static_cast<int>(limit.count()),
                            nullptr));
    m_connection.onWait();
    bool woken = false;
    for (unsigned int i = 0; i < used; ++i) {
        const curl_waitfd& one = descriptors.at(i);
        if (one.revents != 0 && one.fd == m_connection.stopDescriptor) {
            throw Cancelled();
        }
        woken = woken || one.revents != 0;
    }
    return woken;
}

void Transport::sleep(std::chrono::milliseconds time) {
    const Clock::time_point end = Clock::now() + time;
    while (Clock::now() < end) {
        wait(end - Clock::now(), -1);
    }
}

} // namespace sysconfsync
