#include "engine/UpmixerDialogNetwork.h"
#include "processor/KaLog.h"
#include "processor/KaSettingsStore.h"

#include <fann.h>  // the float library that pkg-config "fann" links: fann_type is float

#include <locale.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <mutex>

// On x86-64 Linux built twice, for AVX2 and for the baseline, and chosen when the program loads:
// the sums and activations over the bins are twice as wide with AVX2 (AVX2 alone brings no fused multiply-add, so
// the sums round exactly as in fann_run). Other platforms have no load-time choice (ifunc) and
// build the baseline only. So does ThreadSanitizer: it instruments the resolver that picks the
// clone, which runs while the program is being loaded, before the sanitizer's runtime exists,
// and crashes it. Clang 14 emits the clones of a member function without its plain symbol, so
// its builds (the fuzzers) take the baseline too.
#if defined(__x86_64__) && defined(__linux__) && ! defined(__SANITIZE_THREAD__) && ! defined(__clang__)
    #define ORRIN_AVX2_CLONES __attribute__ ((target_clones ("avx2", "default")))
#else
    #define ORRIN_AVX2_CLONES
#endif

namespace
{
    /** Switches the calling thread, and only it, to the C numeric locale for its lifetime. */
    class ScopedCNumericLocale
    {
    public:
        ScopedCNumericLocale() noexcept
            : m_locale (newlocale (LC_NUMERIC_MASK, "C", (locale_t) 0)),
              m_previous (m_locale != (locale_t) 0 ? uselocale (m_locale) : (locale_t) 0)
        {
        }

        ~ScopedCNumericLocale()
        {
            if (m_locale != (locale_t) 0)
            {
                uselocale (m_previous);
                freelocale (m_locale);
            }
        }

        ScopedCNumericLocale (const ScopedCNumericLocale&) = delete;
        ScopedCNumericLocale& operator= (const ScopedCNumericLocale&) = delete;

    private:
        locale_t m_locale;
        locale_t m_previous;
    };

    struct SharedNetwork
    {
        std::once_flag loaded;
        std::mutex copyLock;  // fann_copy only reads, but two engines built at once stay apart
        fann* net = nullptr;
    };

    /** FANN's activation functions, from its own definitions (fann_activation.h). Those are C
        macros: in C their exp, sin and cos take and give double, so here they must too, or the
        results would round differently from fann_run's. */
    namespace fannActivation
    {
        /** e^x in double precision, within 2 units in the last place of the library's exp, for
            |x| < 700 only: a run limits its sums to 150 over the steepness, so the sigmoids'
            arguments stay within 300 (a non-number stays one, and the run turns it into 0). After the activation rounds to float the results are fann_run's
            but for a rare value on a rounding boundary, one float step away. Unlike the
            library's call it is plain arithmetic, so the loops over the bins vectorise: the
            library's exp was a sixth of a render with isolation on.
            x = n ln 2 + r with |r| <= ln 2 / 2 (ln 2 in two parts, so r is exact enough), e^r by
            its Taylor series to r^13 (the remainder is below 2e-17), and 2^n put straight into
            the exponent bits. */
        inline double exp (double x) noexcept
        {
            constexpr double log2e = 1.4426950408889634, ln2High = 0.6931471803691238, ln2Low = 1.9082149292705877e-10;
            constexpr double shifter = 6755399441055744.0;  // 1.5 * 2^52: adding it rounds to an integer
            const double shifted = x * log2e + shifter;
            const double n = shifted - shifter;
            const double r = (x - n * ln2High) - n * ln2Low;
            double p = 1.0 / 6227020800.0;  // 1 / 13!
            p = p * r + 1.0 / 479001600.0;
            p = p * r + 1.0 / 39916800.0;
            p = p * r + 1.0 / 3628800.0;
            p = p * r + 1.0 / 362880.0;
            p = p * r + 1.0 / 40320.0;
            p = p * r + 1.0 / 5040.0;
            p = p * r + 1.0 / 720.0;
            p = p * r + 1.0 / 120.0;
            p = p * r + 1.0 / 24.0;
            p = p * r + 1.0 / 6.0;
            p = p * r + 0.5;
            p = p * r + 1.0;
            p = p * r + 1.0;
            // The integer n sits in the low bits of shifted; 2^n is n + 1023 in the exponent field.
            const auto bits = std::bit_cast<std::uint64_t> (shifted) - std::bit_cast<std::uint64_t> (shifter) + 1023u;
            return p * std::bit_cast<double> (bits << 52);
        }
        inline double sin (double x) noexcept { return std::sin (x); }
        inline double cos (double x) noexcept { return std::cos (x); }

        /** Activation function A over a run of sums. */
        template <int A>
        void applyAs (const float* x, float* y, int n) noexcept
        {
            for (int b = 0; b < n; ++b)
                fann_activation_switch ((fann_activationfunc_enum) A, x[b], y[b]);
        }

        /** The activation of a neuron over a run of sums. The functions small networks use are
            instantiated one by one, so that their loops carry no switch and vectorise. */
        ORRIN_AVX2_CLONES void apply (int activation, const float* x, float* y, int n) noexcept
        {
            switch (activation)
            {
                case FANN_LINEAR: applyAs<FANN_LINEAR> (x, y, n); break;
                case FANN_SIGMOID: applyAs<FANN_SIGMOID> (x, y, n); break;
                case FANN_SIGMOID_STEPWISE: applyAs<FANN_SIGMOID_STEPWISE> (x, y, n); break;
                case FANN_SIGMOID_SYMMETRIC: applyAs<FANN_SIGMOID_SYMMETRIC> (x, y, n); break;
                case FANN_SIGMOID_SYMMETRIC_STEPWISE: applyAs<FANN_SIGMOID_SYMMETRIC_STEPWISE> (x, y, n); break;
                case FANN_ELLIOT: applyAs<FANN_ELLIOT> (x, y, n); break;
                case FANN_ELLIOT_SYMMETRIC: applyAs<FANN_ELLIOT_SYMMETRIC> (x, y, n); break;
                default:
                    for (int b = 0; b < n; ++b)
                        fann_activation_switch ((fann_activationfunc_enum) activation, x[b], y[b]);
                    break;
            }
        }
    }

    SharedNetwork& shared()
    {
        // Never destroyed: engines may be copied from it until the process ends.
        static auto* instance = new SharedNetwork();
        return *instance;
    }
}

fann* UpmixerDialogNetwork::loadFile (const juce::File& file, juce::String& error)
{
    if (! file.existsAsFile())
    {
        error = "no file " + file.getFullPathName();
        return nullptr;
    }

    fann* net = nullptr;
    {
        const ScopedCNumericLocale cLocale;
        net = fann_create_from_file (file.getFullPathName().toRawUTF8());
    }

    if (net == nullptr)
    {
        error = "cannot read " + file.getFullPathName();
        return nullptr;
    }
    if ((int) fann_get_num_input (net) != numInputs || fann_get_num_output (net) < 1)
    {
        error = file.getFullPathName() + " has " + juce::String ((int) fann_get_num_input (net)) + " inputs and "
                + juce::String ((int) fann_get_num_output (net)) + " outputs; " + juce::String (numInputs)
                + " inputs and at least one output are needed";
        fann_destroy (net);
        return nullptr;
    }
    return net;
}

juce::Array<juce::File> UpmixerDialogNetwork::candidateFiles()
{
    juce::Array<juce::File> files;

    // The binary of the running code: the executable, or the plug-in's shared library.
    const auto binary = juce::File::getSpecialLocation (juce::File::currentExecutableFile);
    const auto binaryFolder = binary.getParentDirectory();
    files.add (binaryFolder.getChildFile (fileName));                                     // beside it (CLI, Standalone, LV2)
    files.add (binaryFolder.getParentDirectory().getChildFile ("Resources").getChildFile (fileName));  // VST3 bundle

#ifdef ORRIN_SOURCE_DIR
    files.add (juce::File (ORRIN_SOURCE_DIR).getChildFile ("resources").getChildFile (fileName));
#endif

    if (const auto installFolder = KaSettingsStore::getInstance().getString ("Install Folder");
        installFolder.has_value() && juce::File::isAbsolutePath (*installFolder))
        files.add (juce::File (*installFolder).getChildFile (installSubFolder).getChildFile (fileName));

    return files;
}

bool UpmixerDialogNetwork::loadSharedNetwork()
{
    auto& s = shared();
    std::call_once (s.loaded, [&s] {
        juce::StringArray reasons;
        for (const auto& file : candidateFiles())
        {
            juce::String error;
            if ((s.net = loadFile (file, error)) != nullptr)
            {
                KaLog::write ("UpmixerDialogNetwork::sharedNetwork: loaded " + file.getFullPathName());
                return;
            }
            reasons.add (error);
        }
        KaLog::write ("WARNING: UpmixerDialogNetwork::sharedNetwork: no usable " + juce::String (fileName)
                      + ", dialogue isolation is off (" + reasons.joinIntoString ("; ") + ")");
    });
    return s.net != nullptr;
}

UpmixerDialogNetwork::UpmixerDialogNetwork()
{
    if (! loadSharedNetwork())
        return;

    {
        auto& s = shared();
        const std::lock_guard<std::mutex> lock (s.copyLock);
        m_pNet = fann_copy (s.net);
    }
    if (m_pNet != nullptr)
        buildPlan();
}

UpmixerDialogNetwork::UpmixerDialogNetwork (const juce::File& file)
{
    juce::String error;
    m_pNet = loadFile (file, error);
    if (m_pNet != nullptr)
        buildPlan();
}

UpmixerDialogNetwork::~UpmixerDialogNetwork()
{
    if (m_pNet != nullptr)
        fann_destroy (m_pNet);
}

void UpmixerDialogNetwork::buildPlan()
{
    m_bScaleInput = m_pNet->scale_mean_in != nullptr;

    const fann_neuron* first = m_pNet->first_layer->first_neuron;
    m_nInputBias = (int) (m_pNet->first_layer->last_neuron - first) - 1;
    m_nOutputNeuron = (int) ((m_pNet->last_layer - 1)->first_neuron - first);

    for (const fann_layer* layer = m_pNet->first_layer + 1; layer != m_pNet->last_layer; ++layer)
        for (const fann_neuron* neuron = layer->first_neuron; neuron != layer->last_neuron; ++neuron)
        {
            PlannedNeuron planned;
            planned.index = (int) (neuron - first);
            planned.activation = (int) neuron->activation_function;
            planned.steepness = neuron->activation_steepness;
            planned.firstConnection = (int) m_sources.size();
            planned.numConnections = (int) (neuron->last_con - neuron->first_con);

            // Fully connected networks take consecutive neurons (of the layer below, or of the
            // whole network for shortcut networks); sparse ones list them.
            const fann_neuron* consecutive = m_pNet->network_type == FANN_NETTYPE_SHORTCUT ? first : (layer - 1)->first_neuron;
            for (unsigned int c = neuron->first_con; c != neuron->last_con; ++c)
            {
                const fann_neuron* source = m_pNet->connection_rate >= 1 ? consecutive + (c - neuron->first_con) : m_pNet->connections[c];
                m_sources.push_back ((int) (source - first));
                m_weights.push_back (m_pNet->weights[c]);
            }
            m_plan.push_back (planned);
        }

    m_values.assign ((size_t) m_pNet->total_neurons * maxBins, 0.0f);
    m_sums.assign (maxBins, 0.0f);
}

ORRIN_AVX2_CLONES
void UpmixerDialogNetwork::runFrame (float* inputs, int numBins, float* probabilities) noexcept
{
    if (m_pNet == nullptr)
        return;
    numBins = std::clamp (numBins, 0, maxBins);

    // The inputs, bin after bin, become one row of values per input neuron. A file with scaling
    // parameters stores them, but a run does not apply them: that is the caller's part.
    for (int b = 0; b < numBins; ++b)
    {
        float* row = inputs + b * numInputs;
        if (m_bScaleInput)
            fann_scale_input (m_pNet, row);
        for (int i = 0; i < numInputs; ++i)
            m_values[(size_t) (i * maxBins + b)] = row[i];
    }
    std::fill_n (m_values.begin() + m_nInputBias * maxBins, numBins, 1.0f);

    float* const sum = m_sums.data();
    for (const auto& neuron : m_plan)
    {
        float* const out = m_values.data() + neuron.index * maxBins;
        if (neuron.numConnections == 0)  // a bias neuron
        {
            std::fill_n (out, numBins, 1.0f);
            continue;
        }

        const float* w = m_weights.data() + neuron.firstConnection;
        const int* source = m_sources.data() + neuron.firstConnection;
        auto values = [this, source] (int c) noexcept { return m_values.data() + source[c] * maxBins; };

        // fann_run's order: the connections beyond a multiple of four first (the third, the
        // second, the first), then groups of four summed among themselves before joining.
        std::fill_n (sum, numBins, 0.0f);
        const int n = neuron.numConnections, remainder = n & 3;
        for (int c = remainder - 1; c >= 0; --c)
        {
            const float* v = values (c);
            for (int b = 0; b < numBins; ++b)
                sum[b] += w[c] * v[b];
        }
        for (int c = remainder; c != n; c += 4)
        {
            const float *v0 = values (c), *v1 = values (c + 1), *v2 = values (c + 2), *v3 = values (c + 3);
            for (int b = 0; b < numBins; ++b)
                sum[b] += w[c] * v0[b] + w[c + 1] * v1[b] + w[c + 2] * v2[b] + w[c + 3] * v3[b];
        }

        const float steepness = neuron.steepness;
        const float maxSum = 150.0f / steepness;
        for (int b = 0; b < numBins; ++b)
        {
            float x = steepness * sum[b];
            if (x > maxSum)
                x = maxSum;
            else if (x < -maxSum)
                x = -maxSum;
            sum[b] = x;
        }
        fannActivation::apply (neuron.activation, sum, out, numBins);
    }

    const float* output = m_values.data() + m_nOutputNeuron * maxBins;
    for (int b = 0; b < numBins; ++b)
        probabilities[b] = output[b] > 0.0f ? (output[b] < 1.0f ? output[b] : 1.0f) : 0.0f;  // a non-number gives 0
}
