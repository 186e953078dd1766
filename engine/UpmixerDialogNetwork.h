#pragma once

#include <juce_core/juce_core.h>

#include <vector>

struct fann;

/** The dialogue detector: a FANN network with 37 inputs whose first output (0 ... 1) is the
    probability that a bin carries dialogue.

    "dialog.net" is read once per process and kept read-only; every engine takes its own copy
    (fann_copy) and runs that, since a run writes into the network's neuron values.

    A frame asks for 513 runs, one per bin. Rather than 513 calls of fann_run, which walks the
    network one neuron and one connection at a time (about 150 ns a run for 37-8-1, more than the
    rest of the engine together), runFrame() does FANN's forward pass for all the bins at once,
    with the bins in the innermost loop so that it vectorises: for every neuron the same weights
    in the same summation order as fann_run (a leading remainder of connections, then groups of
    four), the same steepness, the same clip at 150 / steepness and FANN's own activation
    functions (fann_activation.h). The results are fann_run's, bit for bit (a test holds it to
    that), several times faster.

    The file is looked for, in this order:
      1. the program's own resource folder, beside the running binary: the executable's folder
         (command line, Standalone), Contents/Resources of the bundle (VST3, macOS), the bundle
         folder beside the .so (LV2, which is the binary's own folder);
      2. resources/ of the source tree the binary was built from (tests, developer builds);
      3. Resources/ under the folder named by the installation setting "Install Folder".
    A missing or unreadable file is logged once with "WARNING: "; engines then run without one
    and move no dialogue. */
class UpmixerDialogNetwork
{
public:
    static constexpr const char* fileName = "dialog.net";
    static constexpr const char* installSubFolder = "Resources";
    static constexpr int numInputs = 37;

    /** Message thread; allocates, and loads the shared network the first time in the process.
        Copies the shared network, if there is one. */
    UpmixerDialogNetwork();

    /** Message thread; allocates and reads the disk: a network of its own from the given file
        (tools and tests that try networks); not loaded when loadFile() refuses the file. */
    explicit UpmixerDialogNetwork (const juce::File& file);

    /** Message thread; frees this engine's copy. */
    ~UpmixerDialogNetwork();

    UpmixerDialogNetwork (const UpmixerDialogNetwork&) = delete;
    UpmixerDialogNetwork& operator= (const UpmixerDialogNetwork&) = delete;

    /** Any thread, no allocation: whether a network is there to run. */
    bool isLoaded() const noexcept { return m_pNet != nullptr; }

    static constexpr int maxBins = 513;

    /** Audio thread, no allocation: runs the network on numBins (up to maxBins) input vectors of
        numInputs floats, bin after bin (scaled in place first when the file carries scaling
        parameters), and writes each one's first output, limited to 0 ... 1 (0 for a non-number),
        to probabilities. Does nothing when no network is loaded. */
    void runFrame (float* inputs, int numBins, float* probabilities) noexcept;

    /** Not the audio thread; allocates and reads the disk. Loads a network file under the C
        numeric locale on the calling thread only (FANN's text reader follows the locale and
        fails where the decimal separator is a comma). Returns null, with the reason in error,
        when the file is missing, unreadable or not a network of numInputs inputs and at least
        one output. The caller owns the result (free it with fann_destroy). */
    static fann* loadFile (const juce::File& file, juce::String& error);

    /** Not the audio thread; allocates and reads the settings store: the places looked in, in
        order. */
    static juce::Array<juce::File> candidateFiles();

private:
    /** Loads the process's shared network on the first call; whether there is one. */
    static bool loadSharedNetwork();

    /** Message thread; allocates: the forward pass of the copied network as a list of neurons. */
    void buildPlan();

    /** A neuron the forward pass computes, in FANN's order. Bias neurons have no connections. */
    struct PlannedNeuron
    {
        int index = 0;            // FANN's neuron number (all layers, biases included)
        int activation = 0;       // FANN's activation function
        float steepness = 0.0f;
        int firstConnection = 0;  // into m_sources and m_weights
        int numConnections = 0;
    };

    fann* m_pNet = nullptr;
    bool m_bScaleInput = false;
    int m_nInputBias = 0;
    int m_nOutputNeuron = 0;
    std::vector<PlannedNeuron> m_plan;
    std::vector<int> m_sources;
    std::vector<float> m_weights;
    std::vector<float> m_values;  // every neuron's value for every bin: [neuron * maxBins + bin]
    std::vector<float> m_sums;    // maxBins
};
