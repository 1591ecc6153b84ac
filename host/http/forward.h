#pragma once

class TavHTTPClient;
