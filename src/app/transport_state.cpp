#include "app/transport_state.h"

TransportState& transport_state()
{
    static TransportState state;
    return state;
}
