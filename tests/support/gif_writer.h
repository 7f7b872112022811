/// \file gif_writer.h
#pragma once
