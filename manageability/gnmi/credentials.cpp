// TLS by files.
#include "credentials.hpp"

#include <grpcpp/security/tls_certificate_provider.h>
#include <grpcpp/security/tls_credentials_options.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "printable.hpp"
#include "rpc_error.hpp"

namespace ymap::telemetry {
namespace {

constexpr unsigned int kSecondsBetweenLooks = 1;  ///< at the files

std::string last_failure() {
  std::array<char, 256> text{};
  ::ERR_error_string_n(::ERR_get_error(), text.data(), text.size());
  ::ERR_clear_error();
  return text.data();
}

/// Nobody is there to type a passphrase.
int no_passphrase(char * /*buffer*/, int /*size*/, int /*writing*/, void * /*of*/) {
  return -1;
}

/// What `read` makes of the file, by one of OpenSSL's functions.
template <typename Thing, typename Read, typename Free>
std::unique_ptr<Thing, Free> read_pem(const std::string &name, const char *what, Read read, Free free) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(name.c_str(), "re"), &std::fclose);
  if (!file) throw UsageError("file " + name + " cannot be opened: " + std::strerror(errno));
  std::unique_ptr<Thing, Free> thing(read(file.get(), nullptr, no_passphrase, nullptr), free);
  if (!thing)
    throw UsageError("file " + name + " holds no " + what + " in PEM that can be read: " + last_failure());
  return thing;
}

}  // namespace

std::string listening_address(const std::string &listen) {
  constexpr std::string_view scheme = "unix:";
  if (listen.empty()) return "127.0.0.1:9339";
  if (listen.starts_with(scheme)) {
    if (listen.size() == scheme.size()) throw UsageError("--listen " + listen + " lacks the socket's path");
    return listen;
  }
  const auto colon = listen.rfind(':');
  unsigned int port = 65536;
  if (colon != std::string::npos) {
    const auto *end = listen.data() + listen.size();
    const auto [last, error] = std::from_chars(listen.data() + colon + 1, end, port);
    if (error != std::errc() || last != end) port = 65536;
  }
  const auto host = listen.substr(0, colon == std::string::npos ? 0 : colon);
  const bool is_bare_v6 =
      host.find(':') != std::string::npos && !(host.starts_with('[') && host.ends_with(']'));
  if (host.empty() || port > 65535 || is_bare_v6)
    throw UsageError(
        "--listen takes an address and a port, such as 127.0.0.1:9339 or [::]:9339, or unix: and a path; \"" +
        shortened(listen) + "\" is neither");
  return listen;
}

bool is_local(const std::string &address) {
  for (const std::string_view start : {"unix:", "127.", "[::1]:", "localhost:"})
    if (address.starts_with(start)) return true;
  return false;
}

void check_certificates(const Options &options) {
  if (options.certificate.empty()) return;
  const auto certificate = read_pem<X509>(options.certificate, "certificate", ::PEM_read_X509, &::X509_free);
  const auto key = read_pem<EVP_PKEY>(options.key, "private key without a passphrase", ::PEM_read_PrivateKey,
                                      &::EVP_PKEY_free);
  if (::X509_check_private_key(certificate.get(), key.get()) != 1) {
    ::ERR_clear_error();
    throw UsageError("the key in " + options.key + " is not that of the certificate in " +
                     options.certificate);
  }
  if (!options.client_ca.empty())
    read_pem<X509>(options.client_ca, "certificate", ::PEM_read_X509, &::X509_free);
}

std::shared_ptr<grpc::ServerCredentials> credentials_of(const Options &options) {
  if (options.insecure) return grpc::InsecureServerCredentials();
  namespace tls = grpc::experimental;
  const auto files = options.client_ca.empty()
                         ? std::make_shared<tls::FileWatcherCertificateProvider>(
                               options.key, options.certificate, kSecondsBetweenLooks)
                         : std::make_shared<tls::FileWatcherCertificateProvider>(
                               options.key, options.certificate, options.client_ca, kSecondsBetweenLooks);
  tls::TlsServerCredentialsOptions made(files);
  made.watch_identity_key_cert_pairs();
  if (!options.client_ca.empty()) {
    made.watch_root_certs();
    // Who has a password instead may come without a certificate.
    made.set_cert_request_type(options.pam.empty()
                                   ? GRPC_SSL_REQUEST_AND_REQUIRE_CLIENT_CERTIFICATE_AND_VERIFY
                                   : GRPC_SSL_REQUEST_CLIENT_CERTIFICATE_AND_VERIFY);
  }
  return tls::TlsServerCredentials(made);
}

}  // namespace ymap::telemetry
