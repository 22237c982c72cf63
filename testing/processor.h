// A processor that has less than the one that the tests run on, for code that asks what there is.
#ifndef DERKIT_TESTING_PROCESSOR_H
#define DERKIT_TESTING_PROCESSOR_H

// What __builtin_cpu_supports() looks at, which the compilers' run-time libraries lay out alike.
struct cpu_model_t {
    unsigned int vendor;
    unsigned int type;
    unsigned int subtype;
    unsigned int features;
};
// NOLINTNEXTLINE(bugprone-reserved-identifier): theirs
extern "C" cpu_model_t __cpu_model;

inline bool processor_has_avx2() {
    return __builtin_cpu_supports("avx2") != 0;
}

// Hides all that __builtin_cpu_supports() would tell, as long as it lives.
class plain_processor_t {
  public:
    plain_processor_t() : features_(__cpu_model.features) { __cpu_model.features = 0; }
    ~plain_processor_t() { __cpu_model.features = features_; }
    plain_processor_t(const plain_processor_t&) = delete;
    plain_processor_t& operator=(const plain_processor_t&) = delete;

  private:
    const unsigned int features_;
};

// Runs a check on the processor as it is, and on one without what it may have.
template <typename CHECK> void on_each_processor(CHECK check) {
    check();
    const plain_processor_t plain;
    check();
}

#endif
