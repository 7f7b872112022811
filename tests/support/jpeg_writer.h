/// \file jpeg_writer.h
#pragma once
