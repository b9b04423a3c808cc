// What BrelixHost.exe listens on.
#pragma once

class CConnectionManager;

// A connection that is constructed. Null when there is nothing to listen on; the user was told why.
CConnectionManager* NewHostConnection();
