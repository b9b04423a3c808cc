#include "agent/modules/pim/AgentModule.h"

CAgentModule::CAgentModule(CAgentEngine& engine)
    : m_pEngine(&engine), m_pReply(engine.GetOutBuf()), m_pFrame(engine.GetPktBuf()) {}
