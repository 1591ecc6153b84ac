#pragma once

class TavFileManager;
