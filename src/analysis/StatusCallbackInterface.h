#pragma once

/// Progress and stop inside long stages of the analysis. Called on the analysing thread.
class StatusCallbackInterface {
public:
    virtual ~StatusCallbackInterface() = default;

    /// @param amount  share of the whole work done since the last call, the whole being 1.0
    /// @return whether to go on; false asks the stage to stop
    virtual bool addProgress(float amount) = 0;
};
