// PKCS#12 containers: one shrouded or plain key in the clear entry, two certificates in the encrypted one.
#ifndef DERKIT_BENCH_CONTAINERS_H
#define DERKIT_BENCH_CONTAINERS_H

#include <string>
#include <string_view>
#include <vector>

#include "keys.h"

struct bag_t {
    bool is_certificate = false;
    std::string value;         // whole element
    std::string friendly_name; // UTF-16BE
    std::string local_key_id;
};

struct container_t {
    bag_t key;
    encrypted_key_t shrouded; // what a container to be read has in place of the key: the same bytes, "encrypted"
    std::vector<bag_t> certificates;
    std::string pbe_salt;
    std::string iv;
    std::string digest;
    std::string mac_salt;
    unsigned int iterations = 2000;
    std::string der_to_read;  // the key shrouded
    std::string der_to_write; // the key as it is
};

const std::vector<container_t>& containers();

std::string listed_bag(bool is_certificate, std::string_view value, std::string_view friendly_name,
                       std::string_view local_key_id);
std::string listed_mac(std::string_view digest, std::string_view salt, unsigned int iterations);

#endif
